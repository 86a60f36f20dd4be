// Preloaded into a program (LD_PRELOAD), shows it a wall clock that somebody has set:
//
//     ENDURE_CLOCK    what is added to the time of day, in seconds
//     ENDURE_LEAP     added from the ENDURE_LEAP_AT-th look on, so that the clock is set while the program runs
//     ENDURE_LEAP_AT  from 1
//
// The clocks that nobody can set are left alone.

#include <dlfcn.h>
#include <sys/time.h>

#include <atomic>
#include <cstdlib>
#include <ctime>

namespace {

long Number(const char* name) {
    const char* text = std::getenv(name);
    return text == nullptr ? 0 : std::atol(text);
}

/// What is to be added at this look.
long Shift() {
    static const long shift = Number("ENDURE_CLOCK");
    static const long leap = Number("ENDURE_LEAP");
    static const long leapAt = Number("ENDURE_LEAP_AT");
    static std::atomic<long> looks{0};
    return shift + (leapAt > 0 && ++looks >= leapAt ? leap : 0);
}

template <typename Function>
Function* Next(const char* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

}  // namespace

extern "C" {

time_t time(time_t* result) {
    static const auto next = Next<time_t(time_t*)>("time");
    const time_t now = next(nullptr) + Shift();
    if (result != nullptr) *result = now;
    return now;
}

int clock_gettime(clockid_t clock, timespec* result) {
    static const auto next = Next<int(clockid_t, timespec*)>("clock_gettime");
    const int returned = next(clock, result);
    if (returned == 0 && clock == CLOCK_REALTIME) result->tv_sec += Shift();
    return returned;
}

int gettimeofday(timeval* result, void* zone) {
    static const auto next = Next<int(timeval*, void*)>("gettimeofday");
    const int returned = next(result, zone);
    if (returned == 0) result->tv_sec += Shift();
    return returned;
}
}
