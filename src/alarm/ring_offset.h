// The global ring offset: alarms are evaluated this many minutes ahead of the moment asked
// about, so a positive offset makes them ring early. Set once from the preferences at start-up.

#ifndef QUELLMARK_ALARM_RING_OFFSET_H_
#define QUELLMARK_ALARM_RING_OFFSET_H_

#include <cstdint>

namespace quellmark::GlobalMethods {

extern int32_t iRingOffset;  // minutes

}  // namespace quellmark::GlobalMethods

#endif  // QUELLMARK_ALARM_RING_OFFSET_H_
