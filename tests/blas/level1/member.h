// The kernel library the core loaded, opened once more so that a test can
// call an exported kernel that no dispatching name reaches.
#pragma once
#include <dlfcn.h>

#include <string>

#include "qor/qor.h"

namespace qor::test {

class Member {
 public:
  Member() {
    if (qor_member_load() == 0) handle_ = dlopen(qor_member_path(), RTLD_NOW | RTLD_LOCAL);
  }
  ~Member() {
    if (handle_ != nullptr) dlclose(handle_);
  }
  Member(const Member&) = delete;
  Member& operator=(const Member&) = delete;
  // The exported name as a function of type F, or null.
  template <class F> F* get(const std::string& name) const {
    return handle_ != nullptr ? reinterpret_cast<F*>(dlsym(handle_, name.c_str())) : nullptr;
  }

 private:
  void* handle_ = nullptr;
};

}  // namespace qor::test
