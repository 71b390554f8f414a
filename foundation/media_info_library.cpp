#include "foundation/media_info_library.h"

#include "foundation/trace.h"

#include <dlfcn.h>

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <string>

namespace zelvaro::MediaInfoLibrary {
namespace {

// The library's wide-character C interface; wchar_t is UTF-32 here. It turns
// names into bytes by the C locale, which main() makes a UTF-8 one.
using NewFn = void* (*)();
using DeleteFn = void (*)(void*);
using OpenFn = size_t (*)(void*, const wchar_t*);
using CloseFn = void (*)(void*);
using InformFn = const wchar_t* (*)(void*, size_t);
using GetFn = const wchar_t* (*)(void*, int streamKind, size_t streamNumber,
                                 const wchar_t* parameter, int infoKind, int searchKind);

constexpr int kStreamGeneral = 0;
constexpr int kInfoText = 1;
constexpr int kInfoName = 0;

// A library missing any of these is some other build; it is not trusted.
constexpr const char* kRequiredSymbols[] = {"MediaInfo_New",
                                            "MediaInfoList_New",
                                            "MediaInfo_Delete",
                                            "MediaInfoList_Delete",
                                            "MediaInfo_Open",
                                            "MediaInfoList_Open",
                                            "MediaInfo_Open_Buffer_Init",
                                            "MediaInfo_Open_Buffer_Continue",
                                            "MediaInfo_Open_Buffer_Continue_GoTo_Get",
                                            "MediaInfo_Open_Buffer_Finalize",
                                            "MediaInfo_Open_NextPacket",
                                            "MediaInfo_Close",
                                            "MediaInfoList_Close",
                                            "MediaInfo_Inform",
                                            "MediaInfoList_Inform",
                                            "MediaInfo_GetI",
                                            "MediaInfoList_GetI",
                                            "MediaInfo_Get",
                                            "MediaInfoList_Get",
                                            "MediaInfo_Output_Buffer_Get",
                                            "MediaInfo_Output_Buffer_GetI",
                                            "MediaInfo_Option",
                                            "MediaInfoList_Option",
                                            "MediaInfo_State_Get",
                                            "MediaInfoList_State_Get",
                                            "MediaInfo_Count_Get",
                                            "MediaInfoList_Count_Get",
                                            "MediaInfoList_Count_Get_Files"};

struct Functions {
  NewFn create = nullptr;
  DeleteFn destroy = nullptr;
  OpenFn open = nullptr;
  CloseFn close = nullptr;
  InformFn inform = nullptr;
  GetFn get = nullptr;
};

constexpr const char* kLibraryName = "libmediainfo.so.0";

std::mutex loadMutex;
void* module = nullptr;
const char* libraryName = kLibraryName;
Functions functions;

// The library's tables are statics that exit() destroys, while a detached
// reader (the tag reading of MPRIS or of the lyrics search) may still be
// inside it. exit() waits for the analyses under way and lets no new one
// start; one that outlasts kExitWaitSeconds (an address that does not answer)
// ends the process without the destructors that would pull its tables away.
constexpr int kExitWaitSeconds = 5;
std::mutex busyMutex;
std::condition_variable analysesDone;
int analysesUnderWay = 0;
bool exiting = false;

void WaitForAnalysesAtExit() {
  std::unique_lock lock(busyMutex);
  exiting = true;
  if (analysesDone.wait_for(lock, std::chrono::seconds(kExitWaitSeconds),
                            [] { return analysesUnderWay == 0; }))
    return;
  std::fputs("MediaInfo: an analysis is still running; leaving without clean-up\n", stderr);
  std::_Exit(EXIT_FAILURE);
}

std::wstring Wide(const QString& text) {
  return text.toStdWString();
}

QString FromWide(const wchar_t* text) {
  return text ? QString::fromWCharArray(text) : QString();
}

// Opens `path` on a fresh handle; the handle is deleted when this goes.
class Analysis {
 public:
  explicit Analysis(const QString& path) {
    {
      std::lock_guard lock(busyMutex);
      if (exiting) return;
      ++analysesUnderWay;
    }
    handle_ = functions.create();
    if (handle_ && functions.open(handle_, Wide(path).c_str()) != 0) opened_ = true;
    if (!handle_) Finished();
  }
  ~Analysis() {
    if (!handle_) return;
    if (opened_) functions.close(handle_);
    functions.destroy(handle_);
    Finished();
  }
  Analysis(const Analysis&) = delete;
  Analysis& operator=(const Analysis&) = delete;

  bool Opened() const { return opened_; }
  void* Handle() const { return handle_; }

 private:
  static void Finished() {
    std::lock_guard lock(busyMutex);
    if (--analysesUnderWay == 0) analysesDone.notify_all();
  }

  void* handle_ = nullptr;
  bool opened_ = false;
};

QString GeneralValue(const Analysis& analysis, const wchar_t* parameter) {
  return FromWide(
      functions.get(analysis.Handle(), kStreamGeneral, 0, parameter, kInfoText, kInfoName));
}

}  // namespace

int Load() {
  std::lock_guard lock(loadMutex);
  if (module) return 1;
  void* handle = dlopen(libraryName, RTLD_NOW | RTLD_LOCAL);
  if (!handle) {
    Trace("MediaInfo: %s", dlerror());
    return -1;
  }
  for (const char* name : kRequiredSymbols) {
    if (!dlsym(handle, name)) {
      Trace("MediaInfo: %s is missing", name);
      dlclose(handle);
      return -1;
    }
  }
  functions.create = reinterpret_cast<NewFn>(dlsym(handle, "MediaInfo_New"));
  functions.destroy = reinterpret_cast<DeleteFn>(dlsym(handle, "MediaInfo_Delete"));
  functions.open = reinterpret_cast<OpenFn>(dlsym(handle, "MediaInfo_Open"));
  functions.close = reinterpret_cast<CloseFn>(dlsym(handle, "MediaInfo_Close"));
  functions.inform = reinterpret_cast<InformFn>(dlsym(handle, "MediaInfo_Inform"));
  functions.get = reinterpret_cast<GetFn>(dlsym(handle, "MediaInfo_Get"));
  module = handle;
  // Registered after the library's own destructors, so run before them.
  static const bool waitsAtExit = std::atexit(WaitForAnalysesAtExit) == 0;
  (void)waitsAtExit;
  return 1;
}

void SetLibraryNameForTesting(const char* name) {
  std::lock_guard lock(loadMutex);
  libraryName = name ? name : kLibraryName;
  module = nullptr;
}

QString Inform(const QString& path, AnalysisError* error) {
  const auto fail = [error](AnalysisError reason) {
    if (error) *error = reason;
    return QString();
  };
  if (Load() < 0) return fail(AnalysisError::LibraryMissing);
  const Analysis analysis(path);
  if (!analysis.Handle()) return fail(AnalysisError::LibraryMissing);
  if (!analysis.Opened()) return fail(AnalysisError::OpenFailed);
  QString report = FromWide(functions.inform(analysis.Handle(), 0));
  report.replace(QStringLiteral("\r\n"), QStringLiteral("\n"));
  if (error) *error = AnalysisError::None;
  return report;
}

std::optional<GeneralTags> ReadGeneralTags(const QString& path) {
  if (Load() < 0) return std::nullopt;
  const Analysis analysis(path);
  if (!analysis.Opened()) return std::nullopt;
  return GeneralTags{GeneralValue(analysis, L"Title"), GeneralValue(analysis, L"Performer"),
                     GeneralValue(analysis, L"Duration"), GeneralValue(analysis, L"Album")};
}

}  // namespace zelvaro::MediaInfoLibrary
