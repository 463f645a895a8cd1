// SPDX-License-Identifier: Apache-2.0
// The backends of this build, the preferred one first.
#include <pthread.h>
#include <sched.h>

#include <cstring>

#include "live/backend.h"

namespace vantoro {

#if VANTORO_JACK
extern const BackendKind kJackBackend;
#endif
#if VANTORO_ALSA
extern const BackendKind kAlsaBackend;
#endif

const std::vector<BackendKind>& backend_kinds()
{
    static const std::vector<BackendKind> kinds = {
#if VANTORO_JACK
        kJackBackend,
#endif
#if VANTORO_ALSA
        kAlsaBackend,
#endif
    };
    return kinds;
}

std::string ask_for_realtime()
{
    constexpr int kPriority = 70;  // above desktop programs, below interrupt threads
    const sched_param priority{.sched_priority = kPriority};
    const int error = pthread_setschedparam(pthread_self(), SCHED_FIFO, &priority);
    return error == 0 ? "" : std::string("no realtime priority: ") + std::strerror(error);
}

}  // namespace vantoro
