// Preloaded into a program (LD_PRELOAD), stands between it and the system's file calls for everything below one
// directory: counts the calls, lets one fail, kills the program at one, and writes down what changes the disk.
//
//     ENDURE_ROOT     the directory, an absolute path; nothing outside is touched or counted
//     ENDURE_LOG      a file outside of it; one record a call is appended, see below
//     ENDURE_AT       the number of the call that is to fail, from 1
//     ENDURE_FAULT    what happens there: an errno value; "short": half is read or written, and the next write fails with
//                     ENOSPC; "kill": SIGKILL in its place; "torn": a write is done by half, then SIGKILL
//     ENDURE_FOR_GOOD "1": from that call on every call of the kinds in ENDURE_KINDS fails
//     ENDURE_KINDS    letters: o open, c open that creates, s look, l list, r read, w write, t truncate, y sync, n rename,
//                     u remove, m make a directory, k lock
//     ENDURE_DATA     "1": records of writes carry what was written, and what goes out on a terminal line is recorded
//
// A record is a line, number, kind, inode, offset, size, path, second path, separated by tabs, paths below the root;
// behind a write's line stand its bytes where ENDURE_DATA asks for them. A kind is a letter of the above or "p" for bytes
// sent on a line, number 0. A call that failed by itself is counted and recorded with the inode 0.

#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

constexpr int kMostDescriptors = 1024;

struct Plan {
    const char* root = nullptr;
    std::size_t rootBytes = 0;
    const char* kinds = "";
    const char* fault = "";
    long at = 0;
    bool forGood = false;
    bool withData = false;
    int log = -1;

    Plan() {
        root = std::getenv("ENDURE_ROOT");
        if (root == nullptr) return;
        rootBytes = std::strlen(root);
        const auto text = [](const char* name) {
            const char* value = std::getenv(name);
            return value == nullptr ? "" : value;
        };
        kinds = text("ENDURE_KINDS");
        fault = text("ENDURE_FAULT");
        at = std::atol(text("ENDURE_AT"));
        forGood = std::strcmp(text("ENDURE_FOR_GOOD"), "1") == 0;
        withData = std::strcmp(text("ENDURE_DATA"), "1") == 0;
        const auto open = reinterpret_cast<int (*)(const char*, int, ...)>(dlsym(RTLD_NEXT, "open"));
        const int opened = open(text("ENDURE_LOG"), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0600);
        // Out of the way of numbers that the program itself would have got.
        if (opened >= 0) log = fcntl(opened, F_DUPFD_CLOEXEC, kMostDescriptors / 2);
        if (opened >= 0) close(opened);
    }
};

const Plan& ThePlan() {
    static const Plan plan;
    return plan;
}

long calls = 0;
bool nextWriteFails = false;
char inside[kMostDescriptors];  // descriptors of what lies below the root

/// The path below the root; nullptr for everything else.
const char* Below(const char* path) {
    const Plan& plan = ThePlan();
    if (plan.root == nullptr || path == nullptr || std::strncmp(path, plan.root, plan.rootBytes) != 0)
        return nullptr;
    const char* rest = path + plan.rootBytes;
    if (*rest == '\0') return ".";
    return *rest == '/' ? rest + 1 : nullptr;
}

bool Below(int descriptor) {
    return descriptor >= 0 && descriptor < kMostDescriptors && inside[descriptor] != 0;
}

template <typename Function>
Function Real(Function, const char* name) {
    return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}
#define REAL(name) Real(&name, #name)

struct Call {
    char kind;
    const char* path = "";
    const char* second = "";
    long long offset = 0;
    std::size_t size = 0;
    unsigned long long inode = 0;
};

void Record(long number, const Call& call, const void* bytes = nullptr) {
    const int saved = errno;
    char line[2 * 4096];
    const int length = std::snprintf(line, sizeof line, "%ld\t%c\t%llu\t%lld\t%zu\t%s\t%s\n", number,
                                     call.kind, call.inode, call.offset, call.size, call.path, call.second);
    const iovec parts[] = {{line, static_cast<std::size_t>(length)}, {const_cast<void*>(bytes), call.size}};
    const bool data = bytes != nullptr && ThePlan().withData;
    if (ThePlan().log >= 0) static_cast<void>(!writev(ThePlan().log, parts, data ? 2 : 1));
    errno = saved;
}

[[noreturn]] void Die() {
    raise(SIGKILL);
    std::abort();
}

enum class Fate { Goes, Fails, Half, HalfThenDies };

/// Counts a call and says what becomes of it; `errno` is set where it fails.
Fate Strike(char kind) {
    const Plan& plan = ThePlan();
    const long number = ++calls;
    if (kind == 'w' && nextWriteFails) {
        nextWriteFails = false;
        errno = ENOSPC;
        return Fate::Fails;
    }
    const bool again = plan.forGood && number > plan.at && std::strchr(plan.kinds, kind) != nullptr;
    if (plan.at == 0 || (number != plan.at && !again)) return Fate::Goes;
    const bool transfers = kind == 'r' || kind == 'w';
    if (std::strcmp(plan.fault, "kill") == 0) Die();
    if (std::strcmp(plan.fault, "torn") == 0 && kind == 'w') return Fate::HalfThenDies;
    if (std::strcmp(plan.fault, "short") == 0 && transfers) {
        nextWriteFails = kind == 'w';
        return Fate::Half;
    }
    const int error = std::atoi(plan.fault);
    if (error == 0) return Fate::Goes;
    errno = error;
    return Fate::Fails;
}

unsigned long long InodeOf(int descriptor) {
    struct stat status {};
    return REAL(fstat)(descriptor, &status) == 0 ? status.st_ino : 0;
}

/// A call that gives 0 or -1, by path.
template <typename Do>
int ByPath(Call call, Do run) {
    int result = -1;
    if (Strike(call.kind) != Fate::Fails) {
        result = run();
        if (result == 0) call.inode = 1;
    }
    Record(calls, call);
    return result;
}

template <typename Do>
int ByDescriptor(Call call, int descriptor, Do run) {
    int result = -1;
    if (Strike(call.kind) != Fate::Fails) {
        result = run();
        if (result == 0) call.inode = InodeOf(descriptor);
    }
    Record(calls, call);
    return result;
}

template <typename Do>
ssize_t Transfer(Call call, int descriptor, const void* bytes, Do run) {
    const Fate fate = Strike(call.kind);
    ssize_t result = -1;
    if (fate != Fate::Fails) {
        const bool half = fate != Fate::Goes && call.size > 1;
        result = run(half ? call.size / 2 : call.size);
        if (fate == Fate::HalfThenDies) Die();
    }
    call.inode = result < 0 ? 0 : InodeOf(descriptor);
    call.size = result < 0 ? 0 : static_cast<std::size_t>(result);
    Record(calls, call, call.kind == 'w' && result >= 0 ? bytes : nullptr);
    return result;
}

}  // namespace

extern "C" {

int open(const char* path, int flags, ...) {
    mode_t mode = 0;
    if ((flags & O_CREAT) != 0) {
        va_list more;
        va_start(more, flags);
        mode = va_arg(more, mode_t);
        va_end(more);
    }
    const auto real = reinterpret_cast<int (*)(const char*, int, ...)>(dlsym(RTLD_NEXT, "open"));
    const char* below = Below(path);
    if (below == nullptr) return real(path, flags, mode);
    const bool creates = (flags & O_CREAT) != 0 && access(path, F_OK) != 0;
    Call call{creates ? 'c' : 'o', below};
    int result = -1;
    if (Strike(call.kind) != Fate::Fails) {
        result = real(path, flags, mode);
        if (result >= 0 && result < kMostDescriptors) inside[result] = 1;
        if (result >= 0) call.inode = InodeOf(result);
    }
    Record(calls, call);
    return result;
}

int close(int descriptor) {
    if (Below(descriptor)) inside[descriptor] = 0;
    return REAL(close)(descriptor);
}

int stat(const char* path, struct stat* status) {
    const auto real = reinterpret_cast<int (*)(const char*, struct stat*)>(dlsym(RTLD_NEXT, "stat"));
    const char* below = Below(path);
    if (below == nullptr) return real(path, status);
    return ByPath({'s', below}, [&] { return real(path, status); });
}

int fstat(int descriptor, struct stat* status) {
    const auto real = reinterpret_cast<int (*)(int, struct stat*)>(dlsym(RTLD_NEXT, "fstat"));
    if (!Below(descriptor)) return real(descriptor, status);
    return ByDescriptor({'s'}, descriptor, [&] { return real(descriptor, status); });
}

DIR* opendir(const char* path) {
    const char* below = Below(path);
    if (below == nullptr) return REAL(opendir)(path);
    DIR* stream = Strike('l') == Fate::Fails ? nullptr : REAL(opendir)(path);
    Record(calls, {'l', below});
    return stream;
}

ssize_t pread(int descriptor, void* buffer, size_t size, off_t offset) {
    if (!Below(descriptor)) return REAL(pread)(descriptor, buffer, size, offset);
    return Transfer({'r', "", "", offset, size}, descriptor, nullptr,
                    [&](std::size_t some) { return REAL(pread)(descriptor, buffer, some, offset); });
}

ssize_t pwrite(int descriptor, const void* bytes, size_t size, off_t offset) {
    if (!Below(descriptor)) return REAL(pwrite)(descriptor, bytes, size, offset);
    return Transfer({'w', "", "", offset, size}, descriptor, bytes,
                    [&](std::size_t some) { return REAL(pwrite)(descriptor, bytes, some, offset); });
}

ssize_t write(int descriptor, const void* bytes, size_t size) {
    const ssize_t written = REAL(write)(descriptor, bytes, size);
    const Plan& plan = ThePlan();
    if (plan.withData && written > 0 && descriptor > STDERR_FILENO && isatty(descriptor) != 0)
        Record(0, {'p', "", "", 0, static_cast<std::size_t>(written)}, bytes);
    return written;
}

int ftruncate(int descriptor, off_t size) {
    if (!Below(descriptor)) return REAL(ftruncate)(descriptor, size);
    return ByDescriptor({'t', "", "", size}, descriptor, [&] { return REAL(ftruncate)(descriptor, size); });
}

int fsync(int descriptor) {
    if (!Below(descriptor)) return REAL(fsync)(descriptor);
    return ByDescriptor({'y'}, descriptor, [&] { return REAL(fsync)(descriptor); });
}

int fdatasync(int descriptor) {
    if (!Below(descriptor)) return REAL(fdatasync)(descriptor);
    return ByDescriptor({'y'}, descriptor, [&] { return REAL(fdatasync)(descriptor); });
}

int rename(const char* from, const char* to) {
    const char* below = Below(from);
    if (below == nullptr) return REAL(rename)(from, to);
    const char* second = Below(to);
    return ByPath({'n', below, second == nullptr ? "" : second}, [&] { return REAL(rename)(from, to); });
}

int unlink(const char* path) {
    const char* below = Below(path);
    if (below == nullptr) return REAL(unlink)(path);
    return ByPath({'u', below}, [&] { return REAL(unlink)(path); });
}

int mkdir(const char* path, mode_t mode) {
    const char* below = Below(path);
    if (below == nullptr) return REAL(mkdir)(path, mode);
    return ByPath({'m', below}, [&] { return REAL(mkdir)(path, mode); });
}

int flock(int descriptor, int operation) {
    if (!Below(descriptor)) return REAL(flock)(descriptor, operation);
    return ByDescriptor({'k'}, descriptor, [&] { return REAL(flock)(descriptor, operation); });
}

}  // extern "C"
