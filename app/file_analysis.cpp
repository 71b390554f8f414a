#include "app/file_analysis.h"

#include <thread>

namespace zelvaro {

FileAnalysis::FileAnalysis() : mailbox_(std::make_shared<WorkerMailbox>(&receiver_)) {}

FileAnalysis::~FileAnalysis() {
  Cancel();
  mailbox_->Close();
}

void FileAnalysis::Start(const QString& path, Deliver deliver) {
  const uint64_t generation = ++generation_;
  ++running_;
  std::thread([this, path, generation, deliver = std::move(deliver), mailbox = mailbox_] {
    FileAnalysisResult result;
    result.path = path;
    result.report = MediaInfoLibrary::Inform(path, &result.error);
    // `this` is touched only in the delivered call, on the interface thread,
    // while the receiver (a member) is alive.
    mailbox->Post([this, generation, deliver, result = std::move(result)]() mutable {
      --running_;
      if (generation == generation_) deliver(std::move(result));
    });
  }).detach();
}

}  // namespace zelvaro
