#include "frame/api.h"

QOR_DEF_API int dll_cpu_version(void) { return 0; }
