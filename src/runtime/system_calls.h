// The system calls whose failures the runtime handles, each through one wrapper here, so that a
// test can make any of them fail: the N-th call (of all, or of one kind) with a chosen errno,
// once or from then on, or a read come back short. The wrappers keep the calls' own contracts (a
// result of -1, or an error number, or nil, and errno); with no fault armed each costs one
// predictable branch.

#ifndef QUELLMARK_RUNTIME_SYSTEM_CALLS_H_
#define QUELLMARK_RUNTIME_SYSTEM_CALLS_H_

#include <dirent.h>
#include <fcntl.h>
#include <pwd.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/types.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <ctime>

namespace quellmark::sys {

enum class CallKind {
  kAny,
  kOpen,       // openat
  kRead,       // read
  kStatus,     // fstat, fstatat
  kListing,    // fdopendir, readdir
  kSpawn,      // posix_spawn
  kWait,       // waitpid
  kPasswords,  // getpwuid_r
  kClock,      // clock_gettime, localtime_r
  kSleep,      // nanosleep
};

// An error number that is no error: the read it strikes returns one byte, however many were asked.
inline constexpr int kShortRead = 0;

struct Fault {
  CallKind kind = CallKind::kAny;
  int64_t nth = 1;          // the call that fails first, counting the calls of kind from the arming
  int error = EIO;          // its errno, or kShortRead (which calls other than read let run)
  bool persistent = false;  // every later call of kind fails too
};

// For tests: arms fault, counting calls from now, or disarms it; whether it has struck since.
void ArmFault(const Fault& fault);
void DisarmFault();
bool FaultStruck();

namespace internal {
extern bool fault_armed;
// The errno a call of kind fails with (kShortRead included), or -1 when it is to run.
int Strike(CallKind kind);
// Fails a call of kind when the armed fault says so: errno set, and true.
inline bool Fails(CallKind kind) {
  if (fault_armed) [[unlikely]] {
    const int error = Strike(kind);
    if (error > kShortRead) {
      errno = error;
      return true;
    }
  }
  return false;
}
}  // namespace internal

inline int OpenAt(int folder, const char* name, int flags) {
  return internal::Fails(CallKind::kOpen) ? -1 : openat(folder, name, flags);
}

inline ssize_t Read(int descriptor, void* buffer, size_t size) {
  if (internal::fault_armed) [[unlikely]] {
    const int error = internal::Strike(CallKind::kRead);
    if (error == kShortRead && size > 1) size = 1;
    if (error > kShortRead) {
      errno = error;
      return -1;
    }
  }
  return read(descriptor, buffer, size);
}

inline int FileStatus(int descriptor, struct stat* status) {
  return internal::Fails(CallKind::kStatus) ? -1 : fstat(descriptor, status);
}

inline int FileStatusAt(int folder, const char* name, struct stat* status, int flags) {
  return internal::Fails(CallKind::kStatus) ? -1 : fstatat(folder, name, status, flags);
}

inline DIR* OpenFolder(int descriptor) {
  return internal::Fails(CallKind::kListing) ? nullptr : fdopendir(descriptor);
}

// nil at the end of the listing with errno unchanged, or on failure with errno set.
inline dirent* ReadFolder(DIR* folder) {
  return internal::Fails(CallKind::kListing) ? nullptr : readdir(folder);
}

// Returns 0 or the error number, as posix_spawn does.
inline int Spawn(pid_t* child, const char* path, char* const argv[], char* const envp[]) {
  if (internal::Fails(CallKind::kSpawn)) return errno;
  return posix_spawn(child, path, nullptr, nullptr, argv, envp);
}

inline pid_t WaitForChild(pid_t child, int* status) {
  return internal::Fails(CallKind::kWait) ? -1 : waitpid(child, status, 0);
}

// Returns 0 or the error number, as getpwuid_r does; found is nil unless the user was found.
inline int PasswordEntry(uid_t user, passwd* entry, char* buffer, size_t size, passwd** found) {
  *found = nullptr;
  if (internal::Fails(CallKind::kPasswords)) return errno;
  return getpwuid_r(user, entry, buffer, size, found);
}

// The real-time clock in nanoseconds since 1970; a failure throws IOException naming the call.
int64_t RealTimeNanoseconds();

// The local wall-clock fields of a moment; false when the zone cannot give them.
inline bool LocalTime(std::time_t moment, std::tm* fields) {
  // GCOVR_EXCL_BR_START: any moment of the real clock has local fields; an injected fault has none
  return !internal::Fails(CallKind::kClock) && localtime_r(&moment, fields) != nullptr;
  // GCOVR_EXCL_BR_STOP
}

inline int Sleep(const timespec* wait, timespec* left) {
  return internal::Fails(CallKind::kSleep) ? -1 : nanosleep(wait, left);
}

}  // namespace quellmark::sys

#endif  // QUELLMARK_RUNTIME_SYSTEM_CALLS_H_
