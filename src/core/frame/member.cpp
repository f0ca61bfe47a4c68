// Finding and loading the kernel member.
#include "frame/member.h"

#include <dlfcn.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <string>

#include "qor/qor.h"

namespace qor::core {
namespace {

constexpr const char* kMemberFile = "libqor_def.so.3";

struct Member {
  std::once_flag once;
  void* handle = nullptr;
  std::string path;
  std::string error;
};

Member& member() {
  static Member m;
  return m;
}

// The directory holding this core library, found from one of its own
// addresses. Links are resolved: the core may have been loaded under
// another name (libblas.so.3) from a directory of its own.
std::string own_directory() {
  Dl_info info{};
  if (dladdr(reinterpret_cast<void*>(&qor_member_load), &info) == 0 || info.dli_fname == nullptr) return {};
  std::string file = info.dli_fname;
  if (char* real = realpath(file.c_str(), nullptr)) {
    file = real;
    free(real);
  }
  auto slash = file.rfind('/');
  return slash == std::string::npos ? std::string{} : file.substr(0, slash + 1);
}

void load(Member& m) {
  std::string candidates[2];
  int count = 0;
  if (const char* env = std::getenv("QOR_DEF_LIBRARY"); env != nullptr && *env != '\0') {
    candidates[count++] = env;
  } else {
    std::string dir = own_directory();
    if (!dir.empty()) candidates[count++] = dir + kMemberFile;
    candidates[count++] = kMemberFile;
  }
  std::string errors;
  for (int i = 0; i < count; ++i) {
    if (void* h = dlopen(candidates[i].c_str(), RTLD_NOW | RTLD_LOCAL)) {
      m.handle = h;
      char resolved[4096];
      m.path = (dlinfo(h, RTLD_DI_ORIGIN, resolved) == 0)
                   ? std::string(resolved) + "/" + kMemberFile
                   : candidates[i];
      if (candidates[i].find('/') != std::string::npos) m.path = candidates[i];
      return;
    }
    const char* why = dlerror();
    if (!errors.empty()) errors += "; ";
    errors += why != nullptr ? why : candidates[i];
  }
  m.error = "qor: cannot load the kernel library " + candidates[0] + ": " + errors;
}

Member& loaded() {
  Member& m = member();
  std::call_once(m.once, [&m] { load(m); });
  return m;
}

}  // namespace

void* member_symbol(const char* name) {
  Member& m = loaded();
  if (m.handle == nullptr) {
    std::fprintf(stderr, "%s\n", m.error.c_str());
    std::abort();
  }
  void* sym = dlsym(m.handle, name);
  if (sym == nullptr) {
    std::fprintf(stderr, "qor: the kernel library %s has no symbol %s\n", m.path.c_str(), name);
    std::abort();
  }
  return sym;
}

}  // namespace qor::core


extern "C" QOR_API int qor_member_load(void) { return qor::core::loaded().handle != nullptr ? 0 : -1; }

extern "C" QOR_API const char* qor_member_path(void) { return qor::core::loaded().path.c_str(); }

extern "C" QOR_API const char* qor_member_error(void) { return qor::core::loaded().error.c_str(); }

extern "C" QOR_API int qor_member_cpu_version(void) {
  using fn = int (*)(void);
  return reinterpret_cast<fn>(qor::core::member_symbol("dll_cpu_version"))();
}
