// libfaultfs.so: a fault injector for file writes, loaded with LD_PRELOAD. It makes write, fsync,
// close or renameat (the calls SafeFile makes) fail with a chosen error number, only for files whose
// path holds a given text (the path of a descriptor comes from /proc/self/fd).
//
// Armed when a process starts, from its environment:
//   FAULTFS_OP=write|fsync|close|rename  FAULTFS_ERRNO=<number>  FAULTFS_MATCH=<text>  FAULTFS_AT=<N>
// or at run time, in a process started with it, through faultfs_arm, faultfs_disarm and
// faultfs_hits, found with dlsym(RTLD_DEFAULT, ...).
//
// For write, N is the number of bytes that still reach matching files: the write that crosses
// byte N is cut short there and every write after it fails. For the other calls, N is the number
// of matching calls that still succeed. A failing close closes all the same, as the system does.
// Error number -1 fails no call: the call that would fail never returns, so that a test can kill
// the process in the middle of a write.
// Built without sanitizers: it is loaded ahead of their runtime and only passes calls on.

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <mutex>
#include <unistd.h>

namespace {

enum class Op { None, Write, Fsync, Close, Rename };

std::mutex g_lock;
Op g_op = Op::None;
int g_errno = 0;
char g_match[512] = {};
long long g_at = 0;
long long g_used = 0; // bytes written or calls made so far on matching paths
long long g_hits = 0;

template <typename F>
F real(const char *name)
{
    return reinterpret_cast<F>(dlsym(RTLD_NEXT, name));
}

Op opNamed(const char *name)
{
    const char *const names[] = {"write", "fsync", "close", "rename"};
    for (int op = 0; name && op < 4; ++op) {
        if (!strcmp(name, names[op]))
            return Op(op + 1);
    }
    return Op::None;
}

// How much of a call on `path` may go ahead: -1 when the fault is not meant for it, else the
// allowance (0: fail now); for write in bytes, for the other calls 1 or 0.
long long allowance(Op op, const char *path, const char *other, long long wanted)
{
    std::lock_guard<std::mutex> guard(g_lock);
    if (g_op != op || !(strstr(path, g_match) || (other && strstr(other, g_match))))
        return -1;
    const long long left = g_at > g_used ? g_at - g_used : 0;
    const long long granted = op == Op::Write ? (wanted < left ? wanted : left) : (left > 0 ? 1 : 0);
    g_used += op == Op::Write ? granted : 1;
    g_hits += granted == 0;
    return granted;
}

long long fdAllowance(Op op, int fd, long long wanted)
{
    char link[64], path[4096];
    snprintf(link, sizeof link, "/proc/self/fd/%d", fd);
    const ssize_t n = readlink(link, path, sizeof path - 1);
    if (n <= 0)
        return -1;
    path[n] = '\0';
    return allowance(op, path, nullptr, wanted);
}

int failWith()
{
    while (g_errno < 0)
        pause();
    errno = g_errno;
    return -1;
}

__attribute__((constructor)) void armFromEnvironment()
{
    const char *match = getenv("FAULTFS_MATCH");
    if (!match || opNamed(getenv("FAULTFS_OP")) == Op::None)
        return;
    snprintf(g_match, sizeof g_match, "%s", match);
    g_errno = getenv("FAULTFS_ERRNO") ? atoi(getenv("FAULTFS_ERRNO")) : EIO;
    g_at = getenv("FAULTFS_AT") ? atoll(getenv("FAULTFS_AT")) : 0;
    g_op = opNamed(getenv("FAULTFS_OP"));
}

} // namespace

extern "C" {

ssize_t write(int fd, const void *buf, size_t count)
{
    static const auto next = real<ssize_t (*)(int, const void *, size_t)>("write");
    const long long granted = g_op == Op::Write ? fdAllowance(Op::Write, fd, (long long)count) : -1;
    if (granted == 0 && count > 0)
        return failWith();
    return next(fd, buf, granted < 0 ? count : size_t(granted));
}

int fsync(int fd)
{
    static const auto next = real<int (*)(int)>("fsync");
    return g_op == Op::Fsync && fdAllowance(Op::Fsync, fd, 1) == 0 ? failWith() : next(fd);
}

int close(int fd)
{
    static const auto next = real<int (*)(int)>("close");
    const long long granted = g_op == Op::Close ? fdAllowance(Op::Close, fd, 1) : -1;
    const int rc = next(fd);
    return granted == 0 ? failWith() : rc;
}

int renameat(int fromDir, const char *from, int toDir, const char *to)
{
    static const auto next = real<int (*)(int, const char *, int, const char *)>("renameat");
    return allowance(Op::Rename, from, to, 1) == 0 ? failWith() : next(fromDir, from, toDir, to);
}

int faultfs_arm(const char *op, int err, const char *match, long long at)
{
    std::lock_guard<std::mutex> guard(g_lock);
    if (opNamed(op) == Op::None || !match)
        return -1;
    snprintf(g_match, sizeof g_match, "%s", match);
    g_errno = err;
    g_at = at;
    g_used = g_hits = 0;
    g_op = opNamed(op);
    return 0;
}

void faultfs_disarm()
{
    std::lock_guard<std::mutex> guard(g_lock);
    g_op = Op::None;
}

long long faultfs_hits()
{
    std::lock_guard<std::mutex> guard(g_lock);
    return g_hits;
}

} // extern "C"
