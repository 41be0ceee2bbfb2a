#include "platform/ThreadPriority.h"

#include <pthread.h>
#include <sched.h>

bool setLowestThreadPriority()
{
    sched_param param{};
    param.sched_priority = 0;
    return pthread_setschedparam(pthread_self(), SCHED_IDLE, &param) == 0;
}
