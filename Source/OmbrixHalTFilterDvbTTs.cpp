// The pool filter of the DVB-T tuner: 30 TS filters made once, each driving a PID filter of
// the receiver's driver with a one-packet buffer. Neither the pool nor its sequence counter is
// locked; the callback trusts a filter only while it runs and carries the magic.
#include "DibDriverLibrary.h"
#include "OmbrixHalFilterDvbTTs.h"
#include "OmbrixHalTFilterHead.h"
#include "OmbrixHalTModule.h"
#include "OmbrixHalTTunerDvbT.h"
#include "OmbrixHalTunerDvbT.h"

namespace {

constexpr uint32_t kPoolSize = OMBRIX_HAL_FILTER_DVB_T_TS_POOL_SIZE;
constexpr uint32_t kMagic = 0xA1A2A3A4u;
constexpr uint32_t kPacketFilterKind = 2;
constexpr uint32_t kPacketSize = DIB_PACKET_SIZE;
constexpr uint8_t kNoElement = 0xff;
// The driver's notices without data.
constexpr uint32_t kEventIgnored1 = 1;
constexpr uint32_t kEventIgnored3 = 3;

enum State : uint32_t { kFree = 0, kAllocated = 1, kConfigured = 2, kRunning = 3 };

struct PoolFilter {
  OmbrixHalFilterHead head;
  ombrixhal::Relaxed<uint32_t> state;  // read by the callback on the driver's thread
  DibFilterDescription description;
  uint8_t packet[kPacketSize];
  ombrixhal::Relaxed<uint32_t> magic;
  uint8_t sequence;
  uint8_t driverFilter;
  uint8_t driverElement;
};

PoolFilter* pool[kPoolSize];
bool poolMade = false;
uint8_t nextSequence = 0;

PoolFilter* asPoolFilter(OmbrixHalFilterHandle aThis) noexcept { return ombrixhal::filterKindOf<PoolFilter>(aThis); }

DibDriverHandle driverOf(const PoolFilter& filter) noexcept {
  return static_cast<DibDriverHandle>(OmbrixHalTunerDvbTGetHandle(filter.head.tuner));
}

void deliverPacket(void* aContext, const DibBufferInfo* aInfo, uint32_t aEvent) noexcept {
  auto* filter = static_cast<PoolFilter*>(aContext);
  if (filter == nullptr || aEvent == kEventIgnored1 || aEvent == kEventIgnored3 || filter->state != kRunning ||
      filter->magic != kMagic) {
    return;
  }
  DibRegisterBuffer(driverOf(*filter), filter->driverFilter, filter->packet, kPacketSize, 0);
  if (filter->head.handler != nullptr) {
    filter->head.handler(&filter->head, aInfo->Data, static_cast<uint32_t>(aInfo->DataSize), filter->head.context);
  }
}

constexpr OmbrixHalFilterOperations kPoolFilterOperations = {
    .Destroy = OmbrixHalFilterDvbTTsDestroy,
    .SetFilterHandler = nullptr,  // the handler comes with Create
    .SetParameter = OmbrixHalFilterDvbTTsSetParameter,
    .GetParameter = OmbrixHalFilterDvbTTsGetParameter,
    .Start = OmbrixHalFilterDvbTTsStart,
    .Stop = OmbrixHalFilterDvbTTsStop,
    .IsEnabled = OmbrixHalFilterDvbTTsIsEnabled,
    .Reset = nullptr,
};

// Start and Stop: the one move they make.
OmbrixHalBool move(OmbrixHalFilterHandle This, State from, State to) noexcept {
  if (This == nullptr || asPoolFilter(This)->state != from) {
    return 0;
  }
  asPoolFilter(This)->state = to;
  return 1;
}

}  // namespace

OmbrixHalBool OmbrixHalFilterDvbTTsInit(void) noexcept {
  if (poolMade) {
    return 0;
  }
  // Kept: after a failure the next call makes every filter again; those made before stay.
  for (PoolFilter*& filter : pool) {
    filter = ombrixhal::newFilterKind<PoolFilter>(kPoolFilterOperations, OMBRIX_HAL_FILTER_TYPE_TS, __FILE__, __LINE__);
    if (filter == nullptr) {
      return 0;
    }
  }
  nextSequence = 0;
  poolMade = true;
  return 1;
}

OmbrixHalFilterHandle OmbrixHalFilterDvbTTsCreate(OmbrixHalTunerHandle aTuner, OmbrixHalFilterType aType,
                                                  OmbrixHalFilterHandler aHandler, void* aContext) noexcept {
  if (aTuner == nullptr || aType != OMBRIX_HAL_FILTER_TYPE_TS) {
    return nullptr;
  }
  OmbrixHalFilterDvbTTsInit();
  if (!poolMade) {
    return nullptr;
  }
  for (PoolFilter* filter : pool) {
    if (filter->state == kFree) {
      filter->head.type = OMBRIX_HAL_FILTER_TYPE_TS;
      filter->state = kAllocated;
      filter->head.handler = aHandler;
      filter->head.context = aContext;
      filter->head.tuner = aTuner;
      return &filter->head;
    }
  }
  return nullptr;
}

OmbrixHalBool OmbrixHalFilterDvbTTsDestroy(OmbrixHalFilterHandle This) noexcept {
  if (This == nullptr) {
    return 0;
  }
  PoolFilter& filter = *asPoolFilter(This);
  if (filter.state == kFree) {
    return 1;
  }
  filter.state = kFree;
  const DibDriverHandle driver = driverOf(filter);
  const int32_t deleted = DibDeleteFilter(driver, filter.driverFilter);
  DibUnregisterBuffer(driver, filter.driverFilter, filter.packet);
  return deleted == 0 ? 1 : 0;
}

OmbrixHalBool OmbrixHalFilterDvbTTsSetParameter(OmbrixHalFilterHandle This,
                                                const OmbrixHalFilterParameter* aParameter) noexcept {
  if (This == nullptr || aParameter == nullptr) {
    return 0;
  }
  PoolFilter& filter = *asPoolFilter(This);
  if (filter.state != kAllocated && filter.state != kConfigured) {
    return 0;
  }
  const DibDriverHandle driver = driverOf(filter);
  filter.description = {kPacketFilterKind, &filter, deliverPacket, 0};
  if (DibCreateFilter(driver, ombrixhal::dvbTChannelOf(This->tuner), 0, &filter.description, &filter.driverFilter) !=
      0) {
    return 0;
  }
  // Kept: the driver filter just made stays as it is.
  if (aParameter->pid == OMBRIX_HAL_FILTER_PID_ALL) {
    return 0;
  }
  DibPidItem element{};
  element.Pid = static_cast<uint16_t>(aParameter->pid);
  filter.driverElement = kNoElement;
  if (DibAddToFilter(driver, filter.driverFilter, 1, &element, &filter.driverElement) != 0) {
    DibDeleteFilter(driver, filter.driverFilter);
    return 0;
  }
  filter.magic = kMagic;
  filter.sequence = nextSequence++;
  if (DibRegisterBuffer(driver, filter.driverFilter, filter.packet, kPacketSize, 0) != 0) {
    DibDeleteFilter(driver, filter.driverFilter);
    return 0;
  }
  filter.state = kConfigured;
  return 1;
}

OmbrixHalBool OmbrixHalFilterDvbTTsGetParameter(OmbrixHalFilterHandle This,
                                                OmbrixHalFilterParameter* aParameter) noexcept {
  static_cast<void>(This);
  static_cast<void>(aParameter);
  return 0;
}

OmbrixHalBool OmbrixHalFilterDvbTTsStart(OmbrixHalFilterHandle This) noexcept {
  return move(This, kConfigured, kRunning);
}

OmbrixHalBool OmbrixHalFilterDvbTTsStop(OmbrixHalFilterHandle This) noexcept {
  return move(This, kRunning, kConfigured);
}

OmbrixHalBool OmbrixHalFilterDvbTTsIsEnabled(OmbrixHalFilterHandle This) noexcept {
  return This != nullptr && asPoolFilter(This)->state == kRunning ? 1 : 0;
}
