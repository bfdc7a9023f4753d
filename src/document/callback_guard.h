// Runs a caller's element callback so that its faults stay its own: a C++
// exception or a hardware fault (SIGSEGV, SIGBUS, SIGFPE) raised inside the
// callback becomes ERROR_CALLBACK_FAULT and the library carries on. The
// signal guard is armed only while a callback runs on this thread; at any
// other time a fault goes on to whatever handler was installed before.
#pragma once

#include <cstdint>

#include "kvsvg/kvsvg.h"

// A callback of any other shape: call(context) under the same guard, where
// call is the library's own thunk that unpacks context and calls the caller.
using GuardedCall = int32_t (*)(void* context);
int32_t CallGuarded(GuardedCall call, void* context);

int32_t CallElementCallback(SvgHandle element, SvgElementCallback callback, void* userData);
