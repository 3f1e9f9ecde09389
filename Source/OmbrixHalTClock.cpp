// Clock: UTC derived from a base value and the ticks elapsed since it was set, counting
// tick-counter overruns; local time offset, daylight time and set handlers on top.
// Takes no lock: sets come from one thread, readings from any.
#include "OmbrixHalClock.h"
#include "OmbrixHalLogger.h"
#include "OmbrixHalTTestSeams.h"

namespace ombrixhal::seam {
GetInterfaceFunction<OmbrixHalClockPlatformInterface> clockPlatformGetInterface = OmbrixHalClockPlatformGetInterface;
}

namespace {

using ombrixhal::Relaxed;

constexpr const char* kGetTicksName = "OmbrixHalClockGetTicks";
constexpr const char* kGetTicksOverflowName = "OmbrixHalClockGetTicksOverflow";
constexpr const char* kGetUtcTimeName = "OmbrixHalClockGetUtcTime";
constexpr const char* kSetUtcTimeName = "OmbrixHalClockSetUtcTime";
constexpr const char* kGetLocalTimeName = "OmbrixHalClockGetLocalTime";
constexpr const char* kSetLocalTimeName = "OmbrixHalClockSetLocalTime";
constexpr const char* kSetLocalTimeOffsetName = "OmbrixHalClockSetLocalTimeOffset";
constexpr const char* kGetLocalTimeOffsetName = "OmbrixHalClockGetLocalTimeOffset";
constexpr const char* kGetDaylightTimeName = "OmbrixHalClockGetDaylightTime";
constexpr const char* kSetDaylightTimeOptionName = "OmbrixHalClockSetDaylightTimeOption";
constexpr const char* kGetDaylightTimeOptionName = "OmbrixHalClockGetDaylightTimeOption";
constexpr const char* kIsDaylightTimeName = "OmbrixHalClockIsDaylightTime";

constexpr const char* kGetTicksNotSupported = "Function not supported 'OmbrixHalClockGetTicks'";
constexpr const char* kGetTicksOverflowNotSupported = "Function not supported 'OmbrixHalClockGetTicksOverflow'";

constexpr uint32_t kIllegalValue = 0x1002;
constexpr uint32_t kIllegalNullValue = 0x1003;
constexpr uint32_t kOverrun = 0x301a;
constexpr uint32_t kUtcTimeSet = 0x3016;
constexpr uint32_t kLocalTimeSet = 0x3017;
constexpr uint32_t kLocalTimeOffsetSet = 0x3018;
constexpr uint32_t kDaylightTimeOptionSet = 0x3019;

constexpr const char* kDaylightTimeOptionNames[] = {"explicit", "auto", "manual on", "manual off"};

// 2^32 ms = 4294967 s + 296 ms: what each further full wrap of the tick counter adds.
constexpr uint32_t kWrapSeconds = 4294967;
constexpr uint32_t kWrapRemainderMs = 296;

struct SetHandlerEntry {
  Relaxed<OmbrixHalClockSetHandler> handler;
  Relaxed<void*> context;
};

struct ClockState {
  Relaxed<int32_t> localTimeOffset;  // seconds
  Relaxed<uint32_t> daylightTimeOption;
  Relaxed<OmbrixHalDateTime> daylightStart;
  Relaxed<OmbrixHalDateTime> daylightEnd;
  Relaxed<int32_t> daylightOffset;  // seconds
  Relaxed<OmbrixHalDateTime> baseUtc;
  Relaxed<uint32_t> lastTicks;
  Relaxed<uint32_t> overruns;
  Relaxed<uint32_t> baseTicks;
  SetHandlerEntry handlers[OMBRIX_HAL_CLOCK_SET_HANDLER_COUNT];
};

OmbrixHalClockPlatformInterface platform{};
ClockState state;

void clearState() {
  state.localTimeOffset = 0;
  state.daylightTimeOption = 0;
  state.daylightStart = 0;
  state.daylightEnd = 0;
  state.daylightOffset = 0;
  state.baseUtc = 0;
  state.lastTicks = 0;
  state.overruns = 0;
  state.baseTicks = 0;
  for (SetHandlerEntry& entry : state.handlers) {
    entry.handler = nullptr;
    entry.context = nullptr;
  }
}

void notify(uint32_t event) {
  for (const SetHandlerEntry& entry : state.handlers) {
    if (const OmbrixHalClockSetHandler handler = entry.handler; handler != nullptr) {
      handler(entry.context, event);
    }
  }
}

// Seconds are truncated at every reading; the millisecond remainder is not carried.
OmbrixHalDateTime currentUtc(const char* functionName) {
  const uint32_t ticks = OmbrixHalClockGetTicks();
  const uint32_t wrap = OmbrixHalClockGetTicksOverflow();
  if (ticks < state.lastTicks) {
    state.overruns = state.overruns + 1;
    OmbrixHalLoggerPrint(functionName, kOverrun);
  }
  state.lastTicks = ticks;
  const uint32_t overruns = state.overruns;
  const uint32_t baseTicks = state.baseTicks;
  const OmbrixHalDateTime baseUtc = state.baseUtc;
  if (wrap == 0) {
    const uint32_t elapsed = ticks - baseTicks;
    uint32_t extra = 0;
    if (overruns > 1) {
      extra = ((overruns - 1) * kWrapRemainderMs - (elapsed / 1000) * 1000 + elapsed) / 1000 +
              (overruns - 1) * kWrapSeconds;
    }
    return baseUtc + elapsed / 1000 + extra;
  }
  if (ticks >= baseTicks && overruns == 0) {
    return baseUtc + (ticks - baseTicks) / 1000;
  }
  const uint32_t elapsed = wrap - baseTicks + ticks;
  uint32_t extra = 0;
  if (overruns > 1) {
    extra = ((wrap % 1000) * (overruns - 1) - (elapsed / 1000) * 1000 + elapsed) / 1000 + (overruns - 1) * (wrap / 1000);
  }
  return baseUtc + elapsed / 1000 + extra;
}

// [start, end) on a circle: a window whose start is not below its end spans the year end.
bool isWithin(OmbrixHalDateTime value, OmbrixHalDateTime start, OmbrixHalDateTime end) {
  if (start < end) {
    return start <= value && value < end;
  }
  return value >= start || value < end;
}

// Local time without daylight offset against the window, whose end is moved back by the offset.
bool isInDaylightWindow(OmbrixHalDateTime localTime) {
  return isWithin(localTime, state.daylightStart, state.daylightEnd - static_cast<uint32_t>(state.daylightOffset));
}

OmbrixHalDateTime localTime(const char* functionName) {
  const OmbrixHalDateTime local = currentUtc(functionName) + static_cast<uint32_t>(state.localTimeOffset);
  const auto offset = static_cast<uint32_t>(state.daylightOffset);
  switch (state.daylightTimeOption) {
    case OMBRIX_HAL_CLOCK_DAYLIGHT_TIME_MANUAL_ON:
      return local + offset;
    case OMBRIX_HAL_CLOCK_DAYLIGHT_TIME_EXPLICIT:
    case OMBRIX_HAL_CLOCK_DAYLIGHT_TIME_AUTO:
      return isInDaylightWindow(local) ? local + offset : local;
    default:
      return local;
  }
}

OmbrixHalDateTime lastSundayOf(uint32_t year, uint32_t month, uint32_t hour) {
  const OmbrixHalDateTime lastDay = OmbrixHalDateTimeSetDateTime(nullptr, year, month, 31, hour, 0, 0);
  OmbrixHalDateTime sunday = 0;
  OmbrixHalDateTimeAddDays(&sunday, lastDay, -static_cast<int32_t>(OmbrixHalDateTimeGetDayOfWeek(lastDay)));
  return sunday;
}

// Only when the option is chosen and at every time set; not at the turn of the year.
void computeAutomaticWindow(const char* functionName) {
  const uint32_t year = OmbrixHalDateTimeGetYear(currentUtc(functionName));
  state.daylightStart = lastSundayOf(year, 3, 2);
  state.daylightEnd = lastSundayOf(year, 10, 3);
}

void restartTicks() {
  const uint32_t ticks = OmbrixHalClockGetTicks();
  state.lastTicks = ticks;
  state.baseTicks = ticks;
  state.overruns = 0;
}

void logTime(const char* functionName, uint32_t logId, OmbrixHalDateTime value) {
  char text[OMBRIX_HAL_DATE_TIME_TEXT_SIZE];
  OmbrixHalDateTimeToString(value, text);
  OmbrixHalLoggerPrint(functionName, logId, text);
}

bool isNull(const void* pointer, const char* functionName, const char* parameterName) {
  if (pointer == nullptr) {
    OmbrixHalLoggerPrint(functionName, kIllegalNullValue, parameterName);
    return true;
  }
  return false;
}

}  // namespace

OmbrixHalBool OmbrixHalClockInit(void) noexcept {
  clearState();
  return ombrixhal::initPlatformInterface(platform, ombrixhal::seam::clockPlatformGetInterface);
}

void OmbrixHalClockDone(void) noexcept {
  ombrixhal::donePlatformInterface(platform);
  clearState();
}

uint32_t OmbrixHalClockGetTicks(void) noexcept {
  if (!ombrixhal::isSupported(platform.GetTicks, kGetTicksName, kGetTicksNotSupported)) {
    return 0;
  }
  return platform.GetTicks();
}

uint32_t OmbrixHalClockGetTicksOverflow(void) noexcept {
  if (!ombrixhal::isSupported(platform.GetTicksOverflow, kGetTicksOverflowName, kGetTicksOverflowNotSupported)) {
    return 0;
  }
  return platform.GetTicksOverflow();
}

OmbrixHalDateTime OmbrixHalClockGetUtcTime(void) noexcept {
  return currentUtc(kGetUtcTimeName);
}

void OmbrixHalClockSetUtcTime(OmbrixHalDateTime aUtcTime) noexcept {
  restartTicks();
  state.baseUtc = aUtcTime;
  if (state.daylightTimeOption == OMBRIX_HAL_CLOCK_DAYLIGHT_TIME_AUTO) {
    computeAutomaticWindow(kSetUtcTimeName);
  }
  if (platform.SetUtcTime != nullptr) {
    platform.SetUtcTime(aUtcTime);
  }
  logTime(kSetUtcTimeName, kUtcTimeSet, aUtcTime);
  notify(OMBRIX_HAL_CLOCK_EVENT_TIME_SET);
  notify(OMBRIX_HAL_CLOCK_EVENT_DAYLIGHT_TIME);
}

OmbrixHalDateTime OmbrixHalClockGetLocalTime(void) noexcept {
  return localTime(kGetLocalTimeName);
}

void OmbrixHalClockSetLocalTime(OmbrixHalDateTime aLocalTime) noexcept {
  restartTicks();
  OmbrixHalDateTime baseUtc = aLocalTime - static_cast<uint32_t>(state.localTimeOffset);
  // Deliberate: the daylight offset comes off inside the window whatever the option, and
  // the window is taken with its start moved forward by the offset.
  const auto offset = static_cast<uint32_t>(state.daylightOffset);
  if (isWithin(aLocalTime, state.daylightStart + offset, state.daylightEnd)) {
    baseUtc -= offset;
  }
  state.baseUtc = baseUtc;
  logTime(kSetLocalTimeName, kLocalTimeSet, aLocalTime);
  notify(OMBRIX_HAL_CLOCK_EVENT_TIME_SET);
  notify(OMBRIX_HAL_CLOCK_EVENT_DAYLIGHT_TIME);
}

void OmbrixHalClockSetLocalTimeOffset(int32_t aMinutes) noexcept {
  state.localTimeOffset = static_cast<int32_t>(static_cast<uint32_t>(aMinutes) * 60);
  OmbrixHalLoggerPrint(kSetLocalTimeOffsetName, kLocalTimeOffsetSet, aMinutes);
  notify(OMBRIX_HAL_CLOCK_EVENT_LOCAL_TIME_OFFSET);
}

void OmbrixHalClockGetLocalTimeOffset(int32_t* aMinutes) noexcept {
  if (isNull(aMinutes, kGetLocalTimeOffsetName, "aMinutes")) {
    return;
  }
  // Deliberate: an unsigned division, so a negative offset does not come back as set.
  *aMinutes = static_cast<int32_t>(static_cast<uint32_t>(state.localTimeOffset) / 60);
}

void OmbrixHalClockSetDaylightTime(OmbrixHalDateTime aStart, OmbrixHalDateTime aEnd, int32_t aMinutes) noexcept {
  state.daylightStart = aStart;
  state.daylightEnd = aEnd;
  state.daylightOffset = static_cast<int32_t>(static_cast<uint32_t>(aMinutes) * 60);
  state.daylightTimeOption = OMBRIX_HAL_CLOCK_DAYLIGHT_TIME_EXPLICIT;
  notify(OMBRIX_HAL_CLOCK_EVENT_DAYLIGHT_TIME);
}

void OmbrixHalClockGetDaylightTime(OmbrixHalDateTime* aStart, OmbrixHalDateTime* aEnd, int32_t* aMinutes) noexcept {
  if (isNull(aStart, kGetDaylightTimeName, "aStart") || isNull(aEnd, kGetDaylightTimeName, "aEnd") ||
      isNull(aMinutes, kGetDaylightTimeName, "aMinutes")) {
    return;
  }
  *aStart = state.daylightStart;
  *aEnd = state.daylightEnd;
  *aMinutes = state.daylightOffset / 60;
}

void OmbrixHalClockSetDaylightTimeOption(uint32_t aDaylightTimeOption, int32_t aMinutes) noexcept {
  if (aDaylightTimeOption > OMBRIX_HAL_CLOCK_DAYLIGHT_TIME_MANUAL_OFF) {
    OmbrixHalLoggerPrint(kSetDaylightTimeOptionName, kIllegalValue, "aDaylightTimeOption");
    return;
  }
  state.daylightTimeOption = aDaylightTimeOption;
  state.daylightOffset = static_cast<int32_t>(static_cast<uint32_t>(aMinutes) * 60);
  if (aDaylightTimeOption == OMBRIX_HAL_CLOCK_DAYLIGHT_TIME_AUTO) {
    computeAutomaticWindow(kSetDaylightTimeOptionName);
  }
  OmbrixHalLoggerPrint(kSetDaylightTimeOptionName, kDaylightTimeOptionSet,
                       kDaylightTimeOptionNames[aDaylightTimeOption]);
  notify(OMBRIX_HAL_CLOCK_EVENT_DAYLIGHT_TIME);
}

void OmbrixHalClockGetDaylightTimeOption(uint32_t* aDaylightTimeOption, int32_t* aSeconds) noexcept {
  if (isNull(aDaylightTimeOption, kGetDaylightTimeOptionName, "aDaylightTimeOption") ||
      isNull(aSeconds, kGetDaylightTimeOptionName, "aSeconds")) {
    return;
  }
  *aDaylightTimeOption = state.daylightTimeOption;
  // Deliberate: seconds here, minutes from GetDaylightTime.
  *aSeconds = state.daylightOffset;
}

OmbrixHalBool OmbrixHalClockIsDaylightTime(void) noexcept {
  switch (state.daylightTimeOption) {
    case OMBRIX_HAL_CLOCK_DAYLIGHT_TIME_MANUAL_ON:
      return 1;
    case OMBRIX_HAL_CLOCK_DAYLIGHT_TIME_MANUAL_OFF:
      return 0;
    default:
      // Deliberate: tested on the local time that already carries the offset inside the window.
      return isInDaylightWindow(localTime(kIsDaylightTimeName)) ? 1 : 0;
  }
}

OmbrixHalBool OmbrixHalClockRegisterSetHandler(OmbrixHalClockSetHandler aHandler, void* aContext) noexcept {
  for (SetHandlerEntry& entry : state.handlers) {
    if (entry.handler == nullptr) {
      entry.context = aContext;
      entry.handler = aHandler;
      return 1;
    }
  }
  return 0;
}

OmbrixHalBool OmbrixHalClockUnregisterSetHandler(OmbrixHalClockSetHandler aHandler) noexcept {
  if (aHandler == nullptr) {
    return 0;
  }
  for (SetHandlerEntry& entry : state.handlers) {
    if (entry.handler == aHandler) {
      entry.handler = nullptr;  // the context stays, as it is overwritten at the next register
      return 1;
    }
  }
  return 0;
}
