#include "runtime/system_calls.h"

#include "runtime/exceptions.h"

namespace quellmark::sys {

namespace internal {
bool fault_armed = false;
}  // namespace internal

namespace {

Fault armed_fault;
int64_t calls_counted = 0;
bool fault_struck = false;

}  // namespace

void ArmFault(const Fault& fault) {
  armed_fault = fault;
  calls_counted = 0;
  fault_struck = false;
  internal::fault_armed = true;
}

void DisarmFault() { internal::fault_armed = false; }

bool FaultStruck() { return fault_struck; }

int internal::Strike(CallKind kind) {
  if (armed_fault.kind != CallKind::kAny && armed_fault.kind != kind) return -1;
  ++calls_counted;
  if (calls_counted < armed_fault.nth ||
      (calls_counted > armed_fault.nth && !armed_fault.persistent)) {
    return -1;
  }
  fault_struck = true;
  return armed_fault.error;
}

int64_t RealTimeNanoseconds() {
  timespec now{};
  // GCOVR_EXCL_BR_START: the real-time clock itself does not fail; only an injected fault throws
  if (internal::Fails(CallKind::kClock) || clock_gettime(CLOCK_REALTIME, &now) != 0) {
    // GCOVR_EXCL_BR_STOP
    throw IOException("clock_gettime", "CLOCK_REALTIME", errno);
  }
  return int64_t{now.tv_sec} * 1'000'000'000 + now.tv_nsec;
}

}  // namespace quellmark::sys
