// libfaultfs.so: a fault injector for file writes, loaded with LD_PRELOAD. It makes write,
// fsync/fdatasync, close or rename/renameat/renameat2 fail with a chosen error number, only for
// files whose path contains a given text (the path of a descriptor comes from /proc/self/fd).
//
// Armed when a process starts, from its environment:
//   FAULTFS_OP=write|fsync|close|rename   FAULTFS_ERRNO=ENOSPC|EDQUOT|EIO|EROFS|EACCES|HANG|<number>
//   FAULTFS_MATCH=<text in the path>      FAULTFS_AT=<N, default 0>     FAULTFS_TRACE=1 (optional)
// or at run time, from a process started with it, through the C functions at the end, found with
// dlsym(RTLD_DEFAULT, "faultfs_arm") and so on.
//
// For write, N is the number of bytes that still reach matching files: the write that crosses
// byte N is cut short there and every write after it fails. For the other calls, N is the number
// of matching calls that still succeed; every one after fails. A failing close closes all the
// same, as the system does. FAULTFS_TRACE=1 prints each intercepted call on a matching path.
// HANG (error number -1) fails no call: the call that would fail never returns, so that a test
// can kill the process in the middle of a write.
//
// Built without sanitizers: it is loaded ahead of their runtime and only passes calls on.

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <mutex>
#include <unistd.h>

namespace {

enum class Op { None, Write, Fsync, Close, Rename };
const char *const kOpNames[] = {"none", "write", "fsync", "close", "rename"};

std::mutex g_lock;
std::atomic<Op> g_op{Op::None};
int g_errno = 0;
char g_match[512] = {};
long long g_at = 0;
long long g_used = 0; // bytes written or calls made so far on matching paths
std::atomic<long long> g_hits{0};
bool g_trace = false;

template <typename F>
F real(const char *name)
{
    return reinterpret_cast<F>(dlsym(RTLD_NEXT, name));
}

Op opNamed(const char *name)
{
    for (int op = 1; name && op <= int(Op::Rename); ++op) {
        if (!strcmp(name, kOpNames[op]))
            return Op(op);
    }
    return Op::None;
}

int errnoNamed(const char *name)
{
    if (!name) return EIO;
    if (!strcmp(name, "ENOSPC")) return ENOSPC;
    if (!strcmp(name, "EDQUOT")) return EDQUOT;
    if (!strcmp(name, "EIO")) return EIO;
    if (!strcmp(name, "EROFS")) return EROFS;
    if (!strcmp(name, "EACCES")) return EACCES;
    if (!strcmp(name, "HANG")) return -1;
    return atoi(name) > 0 ? atoi(name) : EIO;
}

bool pathOf(int fd, char *path, size_t size)
{
    char link[64];
    snprintf(link, sizeof link, "/proc/self/fd/%d", fd);
    const ssize_t n = readlink(link, path, size - 1);
    path[n > 0 ? n : 0] = '\0';
    return n > 0;
}

// How much of the call may go ahead on `path`: -1 when it is not meant, else the allowance (0: fail
// now). For write the allowance is in bytes, for the other calls it is 1 (go) or 0 (fail).
long long allowance(Op op, const char *path, const char *other, long long wanted)
{
    if (g_op.load(std::memory_order_relaxed) != op)
        return -1;
    std::lock_guard<std::mutex> guard(g_lock);
    if (g_op != op || !(strstr(path, g_match) || (other && strstr(other, g_match))))
        return -1;
    if (g_trace)
        fprintf(stderr, "faultfs: %s on %s (%lld used)\n", kOpNames[int(op)], path, g_used);
    const long long left = g_at > g_used ? g_at - g_used : 0;
    const long long granted = op == Op::Write ? (wanted < left ? wanted : left) : (left > 0 ? 1 : 0);
    g_used += op == Op::Write ? granted : 1;
    if (granted == 0)
        ++g_hits;
    return granted;
}

long long fdAllowance(Op op, int fd, long long wanted)
{
    if (g_op.load(std::memory_order_relaxed) != op)
        return -1;
    char path[4096];
    return pathOf(fd, path, sizeof path) ? allowance(op, path, nullptr, wanted) : -1;
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
    const Op op = opNamed(getenv("FAULTFS_OP"));
    const char *match = getenv("FAULTFS_MATCH");
    if (op == Op::None || !match)
        return;
    snprintf(g_match, sizeof g_match, "%s", match);
    g_errno = errnoNamed(getenv("FAULTFS_ERRNO"));
    g_at = getenv("FAULTFS_AT") ? atoll(getenv("FAULTFS_AT")) : 0;
    g_trace = getenv("FAULTFS_TRACE") != nullptr;
    g_op = op;
}

} // namespace

extern "C" {

ssize_t write(int fd, const void *buf, size_t count)
{
    static const auto next = real<ssize_t (*)(int, const void *, size_t)>("write");
    const long long granted = fdAllowance(Op::Write, fd, (long long)count);
    if (granted == 0 && count > 0)
        return failWith();
    return next(fd, buf, granted < 0 ? count : size_t(granted));
}

int fsync(int fd)
{
    static const auto next = real<int (*)(int)>("fsync");
    return fdAllowance(Op::Fsync, fd, 1) == 0 ? failWith() : next(fd);
}

int fdatasync(int fd)
{
    static const auto next = real<int (*)(int)>("fdatasync");
    return fdAllowance(Op::Fsync, fd, 1) == 0 ? failWith() : next(fd);
}

int close(int fd)
{
    static const auto next = real<int (*)(int)>("close");
    const long long granted = fdAllowance(Op::Close, fd, 1);
    const int rc = next(fd);
    return granted == 0 ? failWith() : rc;
}

int rename(const char *from, const char *to)
{
    static const auto next = real<int (*)(const char *, const char *)>("rename");
    return allowance(Op::Rename, from, to, 1) == 0 ? failWith() : next(from, to);
}

int renameat(int fromDir, const char *from, int toDir, const char *to)
{
    static const auto next = real<int (*)(int, const char *, int, const char *)>("renameat");
    return allowance(Op::Rename, from, to, 1) == 0 ? failWith() : next(fromDir, from, toDir, to);
}

int renameat2(int fromDir, const char *from, int toDir, const char *to, unsigned flags)
{
    static const auto next = real<int (*)(int, const char *, int, const char *, unsigned)>("renameat2");
    return allowance(Op::Rename, from, to, 1) == 0 ? failWith() : next(fromDir, from, toDir, to, flags);
}

// Arms the injector: `op` is "write", "fsync", "close" or "rename"; returns 0, or -1 for an
// unknown op. Arming again starts the count anew.
int faultfs_arm(const char *op, int err, const char *match, long long at)
{
    const Op o = opNamed(op);
    if (o == Op::None || !match)
        return -1;
    std::lock_guard<std::mutex> guard(g_lock);
    snprintf(g_match, sizeof g_match, "%s", match);
    g_errno = err;
    g_at = at;
    g_used = 0;
    g_hits = 0;
    g_op = o;
    return 0;
}

void faultfs_disarm()
{
    std::lock_guard<std::mutex> guard(g_lock);
    g_op = Op::None;
}

// How many calls were made to fail since the last arming.
long long faultfs_hits()
{
    return g_hits;
}

} // extern "C"
