#pragma once
// FileAnalysis: the media information report of a file, made off the
// interface thread (reading a file over a slow disk or a network address
// can take seconds). Each Start runs MediaInfo on a detached worker and hands
// the outcome to the interface thread; only the newest Start's outcome is
// delivered, and nothing is delivered once the object is gone. A worker
// still reading at exit ends with the process: nothing waits for it.
//
// Interface thread only.

#include "app/worker_mailbox.h"
#include "foundation/media_info_library.h"

#include <QObject>
#include <QString>

#include <cstdint>
#include <functional>
#include <memory>

namespace zelvaro {

struct FileAnalysisResult {
  QString path;
  QString report;  // "\n" line ends; empty on failure
  MediaInfoLibrary::AnalysisError error = MediaInfoLibrary::AnalysisError::None;
};

class FileAnalysis {
 public:
  using Deliver = std::function<void(FileAnalysisResult result)>;

  FileAnalysis();
  ~FileAnalysis();
  FileAnalysis(const FileAnalysis&) = delete;
  FileAnalysis& operator=(const FileAnalysis&) = delete;

  void Start(const QString& path, Deliver deliver);
  void Cancel() { ++generation_; }
  bool Running() const { return running_ > 0; }

 private:
  uint64_t generation_ = 0;  // interface thread only
  int running_ = 0;          // started and not yet delivered or dropped
  QObject receiver_;
  std::shared_ptr<WorkerMailbox> mailbox_;
};

}  // namespace zelvaro
