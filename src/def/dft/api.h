// Exported names of the transform subsystem.
#pragma once
#include "dft/primitive/api.h"
