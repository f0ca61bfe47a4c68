// Prints what the library found on this machine. Built against the
// installed package: find_package(qor) and link qor::core, or pkg-config qor.
#include <cstdio>

#include "qor/qor.h"

int main() {
  if (qor_member_load() != 0) {
    std::fprintf(stderr, "%s\n", qor_member_error());
    return 1;
  }
  std::printf("%s\nmember %s, path %s\n", qor_version_string(), qor_member_path(),
              qor_cpu_path_name(qor_get_cpu_path()));
  return qor_member_cpu_version() == 0 ? 0 : 1;
}
