// Export control for the kernel library.
//
// Everything is hidden by default (-fvisibility=hidden plus a version script
// made from exports/*.txt). A name the core may call is declared once, in its
// subsystem's api.h, with QOR_DEF_API; the definition repeats QOR_DEF_API.
#pragma once

#define QOR_DEF_API extern "C" __attribute__((visibility("default")))
