#pragma once

// The types by which host/framework names the system's thread pool, for the build machine.

#define CALLBACK

struct TP_POOL;
struct TP_CALLBACK_ENVIRON {};
using PTP_POOL = TP_POOL*;
using PTP_CALLBACK_INSTANCE = void*;
using PTP_CLEANUP_GROUP = void*;
using PTP_TIMER = void*;
using PTP_SIMPLE_CALLBACK = void (*)(PTP_CALLBACK_INSTANCE, void*);
using PTP_TIMER_CALLBACK = void (*)(PTP_CALLBACK_INSTANCE, void*, PTP_TIMER);
