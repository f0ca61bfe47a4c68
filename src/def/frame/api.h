// Exported names of the frame.
#pragma once
#include "frame/export.h"

// Identifies the member of the kernel set: 0 is the generic x86-64 member.
QOR_DEF_API int dll_cpu_version(void);
