// Umbrella header: includes every public header of the core library.
#pragma once

#include <kyo/kyoutils_export.h>

// core
#include <kyo/core/object_stream.h>
#include <kyo/core/version.h>
