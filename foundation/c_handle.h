#pragma once
// Owning handles for C library objects: one small template instead of release
// calls scattered through the code.
//
//   using CurlHandle = CHandle<CURL, curl_easy_cleanup>;
//   CurlHandle curl{curl_easy_init()};

#include <memory>

namespace zelvaro {

template <auto ReleaseFn>
struct CReleaser {
  template <typename T>
  void operator()(T* object) const {
    if (object != nullptr) ReleaseFn(object);
  }
};

template <typename T, auto ReleaseFn>
using CHandle = std::unique_ptr<T, CReleaser<ReleaseFn>>;

}  // namespace zelvaro
