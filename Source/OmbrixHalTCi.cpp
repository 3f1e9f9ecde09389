// Common interface: every operation goes straight to the platform, unchecked and unlogged.
#include "OmbrixHalCi.h"
#include "OmbrixHalTTestSeams.h"

namespace ombrixhal::seam {
GetInterfaceFunction<OmbrixHalCiPlatformInterface> ciPlatformGetInterface = OmbrixHalCiPlatformGetInterface;
}

namespace {

OmbrixHalCiPlatformInterface platform{};

// The slot's answer, or the zero of its result type (nothing at all for a void slot) when the
// platform does not support the operation.
template <typename Slot, typename... Arguments>
auto forward(Slot slot, Arguments... arguments) noexcept {
  using Result = decltype(slot(arguments...));
  if (slot == nullptr) {
    return Result();
  }
  return slot(arguments...);
}

}  // namespace

OmbrixHalBool OmbrixHalCiInit(void) noexcept {
  return ombrixhal::initPlatformInterface(platform, ombrixhal::seam::ciPlatformGetInterface);
}

void OmbrixHalCiDone(void) noexcept {
  ombrixhal::donePlatformInterface(platform);
}

uint32_t OmbrixHalCiGetNumberOfSlots(void) noexcept {
  return forward(platform.GetNumberOfSlots);
}

void OmbrixHalCiResetModule(uint32_t aSlot) noexcept {
  forward(platform.ResetModule, aSlot);
}

OmbrixHalBool OmbrixHalCiIsModuleInserted(uint32_t aSlot) noexcept {
  return forward(platform.IsModuleInserted, aSlot);
}

OmbrixHalBool OmbrixHalCiEnableTsRouting(uint32_t aSlot) noexcept {
  return forward(platform.EnableTsRouting, aSlot);
}

OmbrixHalBool OmbrixHalCiDisableTsRouting(uint32_t aSlot) noexcept {
  return forward(platform.DisableTsRouting, aSlot);
}

OmbrixHalBool OmbrixHalCiReadAttributeMemory(uint32_t aSlot, uint32_t aAddress, uint8_t* aBuffer,
                                             uint32_t aLength) noexcept {
  return forward(platform.ReadAttributeMemory, aSlot, aAddress, aBuffer, aLength);
}

OmbrixHalBool OmbrixHalCiWriteAttributeMemory(uint32_t aSlot, uint32_t aAddress, const uint8_t* aBuffer,
                                              uint32_t aLength) noexcept {
  return forward(platform.WriteAttributeMemory, aSlot, aAddress, aBuffer, aLength);
}

OmbrixHalBool OmbrixHalCiReadIoRegister(uint32_t aSlot, uint32_t aRegister, uint32_t* aValue) noexcept {
  return forward(platform.ReadIoRegister, aSlot, aRegister, aValue);
}

OmbrixHalBool OmbrixHalCiWriteIoRegister(uint32_t aSlot, uint32_t aRegister, uint32_t aValue) noexcept {
  return forward(platform.WriteIoRegister, aSlot, aRegister, aValue);
}
