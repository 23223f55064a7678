#include "tests/foundation/detail/clock/FakePlatform.h"

#include "limber/foundation/detail/Platform.h"

FakePlatform fakePlatform;

namespace limber::detail {

std::int64_t counterFrequency() { return fakePlatform.frequency; }
std::int64_t counterTicks() { return fakePlatform.counter; }
std::int64_t clockMilliseconds() { return fakePlatform.milliseconds; }

}  // namespace limber::detail
