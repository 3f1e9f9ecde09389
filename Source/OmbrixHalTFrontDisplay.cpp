// Front display: argument checks and log lines around the platform's panel. Arguments are
// checked in declaration order, and only the first bad one is reported.
#include "OmbrixHalFrontDisplay.h"
#include "OmbrixHalTTestSeams.h"

namespace ombrixhal::seam {
GetInterfaceFunction<OmbrixHalFrontDisplayPlatformInterface> frontDisplayPlatformGetInterface =
    OmbrixHalFrontDisplayPlatformGetInterface;
}

namespace {

using ombrixhal::isLegal;
using ombrixhal::isSupported;
using ombrixhal::reportOutcome;

constexpr const char* kGetSizeName = "OmbrixHalFrontDisplayGetSize";
constexpr const char* kSetStringName = "OmbrixHalFrontDisplaySetString";
constexpr const char* kGetStringName = "OmbrixHalFrontDisplayGetString";
constexpr const char* kSetBrightnessName = "OmbrixHalFrontDisplaySetBrightness";
constexpr const char* kGetBrightnessName = "OmbrixHalFrontDisplayGetBrightness";
constexpr const char* kSetIconsName = "OmbrixHalFrontDisplaySetIcons";
constexpr const char* kGetIconsName = "OmbrixHalFrontDisplayGetIcons";
constexpr const char* kAddIconsName = "OmbrixHalFrontDisplayAddIcons";
constexpr const char* kRemoveIconsName = "OmbrixHalFrontDisplayRemoveIcons";

constexpr const char* kIllegalNullNoOfLines = "Illegal parameter 'NULL' for 'aNoOfLines'";
constexpr const char* kIllegalNullNoOfColumns = "Illegal parameter 'NULL' for 'aNoOfColumns'";
constexpr const char* kIllegalNullString = "Illegal parameter 'NULL' for 'aString'";
constexpr const char* kIllegalNullBuffer = "Illegal parameter 'NULL' for 'aBuffer'";
constexpr const char* kIllegalZeroBufferSize = "Illegal parameter '0' for 'aBufferSize'";
constexpr const char* kIllegalBrightness = "Illegal parameter '%d' for 'aBrightness'";
constexpr const char* kIllegalNullBrightness = "Illegal parameter 'NULL' for 'aBrightness'";
constexpr const char* kIllegalNullIcons = "Illegal parameter 'NULL' for 'aIcons'";
constexpr const char* kIllegalZeroIconsSize = "Illegal parameter '0' for 'aIconsSize'";
constexpr const char* kIllegalZeroNoOfIcons = "Illegal parameter '0' for 'aNoOfIcons'";

constexpr const char* kGetSizeNotSupported = "Function not supported 'OmbrixHalFrontDisplayGetSize'";
constexpr const char* kSetStringNotSupported = "Function not supported 'OmbrixHalFrontDisplaySetString'";
constexpr const char* kGetStringNotSupported = "Function not supported 'OmbrixHalFrontDisplayGetString'";
constexpr const char* kSetBrightnessNotSupported = "Function not supported 'OmbrixHalFrontDisplaySetBrightness'";
constexpr const char* kGetBrightnessNotSupported = "Function not supported 'OmbrixHalFrontDisplayGetBrightness'";
constexpr const char* kSetIconsNotSupported = "Function not supported 'OmbrixHalFrontDisplaySetIcons'";
constexpr const char* kGetIconsNotSupported = "Function not supported 'OmbrixHalFrontDisplayGetIcons'";
constexpr const char* kAddIconsNotSupported = "Function not supported 'OmbrixHalFrontDisplayAddIcons'";
constexpr const char* kRemoveIconsNotSupported = "Function not supported 'OmbrixHalFrontDisplayRemoveIcons'";

constexpr const char* kStringSet = "New front display string '%w'";
constexpr const char* kCannotSetString = "Cannot set front display string";
constexpr const char* kBrightnessSet = "Set front display brightness to %d%%";
constexpr const char* kCannotSetBrightness = "Cannot set front display brightness to %d%%";
constexpr const char* kIconsSet = "Set front display icons successfully";
constexpr const char* kCannotSetIcons = "Cannot set front display icons";
constexpr const char* kIconsAdded = "Added front display icons successfully";
constexpr const char* kCannotAddIcons = "Cannot add front display icons";
constexpr const char* kIconsRemoved = "Removed front display icons successfully";
constexpr const char* kCannotRemoveIcons = "Cannot remove front display icons";

OmbrixHalFrontDisplayPlatformInterface platform{};

}  // namespace

OmbrixHalBool OmbrixHalFrontDisplayInit(void) noexcept {
  return ombrixhal::initPlatformInterface(platform, ombrixhal::seam::frontDisplayPlatformGetInterface);
}

void OmbrixHalFrontDisplayDone(void) noexcept {
  ombrixhal::donePlatformInterface(platform);
}

OmbrixHalBool OmbrixHalFrontDisplayGetSize(uint32_t* aNoOfLines, uint32_t* aNoOfColumns) noexcept {
  if (!isLegal(aNoOfLines != nullptr, kGetSizeName, kIllegalNullNoOfLines) ||
      !isLegal(aNoOfColumns != nullptr, kGetSizeName, kIllegalNullNoOfColumns) ||
      !isSupported(platform.GetSize, kGetSizeName, kGetSizeNotSupported)) {
    return 0;
  }
  return platform.GetSize(aNoOfLines, aNoOfColumns);
}

OmbrixHalBool OmbrixHalFrontDisplaySetString(uint32_t aLine, uint32_t aColumn, const uint16_t* aString) noexcept {
  if (!isLegal(aString != nullptr, kSetStringName, kIllegalNullString) ||
      !isSupported(platform.SetString, kSetStringName, kSetStringNotSupported)) {
    return 0;
  }
  return reportOutcome(platform.SetString(aLine, aColumn, aString), kSetStringName, kStringSet, kCannotSetString,
                       aString);
}

OmbrixHalBool OmbrixHalFrontDisplayGetString(uint32_t aLine, uint16_t* aBuffer, uint32_t aBufferSize) noexcept {
  if (!isLegal(aBuffer != nullptr, kGetStringName, kIllegalNullBuffer) ||
      !isLegal(aBufferSize != 0, kGetStringName, kIllegalZeroBufferSize) ||
      !isSupported(platform.GetString, kGetStringName, kGetStringNotSupported)) {
    return 0;
  }
  return platform.GetString(aLine, aBuffer, aBufferSize);
}

// Kept: the lowest brightness is 1 %, so 0 is refused like 101 and above.
OmbrixHalBool OmbrixHalFrontDisplaySetBrightness(uint32_t aBrightness) noexcept {
  if (!isLegal(aBrightness >= OMBRIX_HAL_FRONT_DISPLAY_BRIGHTNESS_MIN &&
                   aBrightness <= OMBRIX_HAL_FRONT_DISPLAY_BRIGHTNESS_MAX,
               kSetBrightnessName, kIllegalBrightness, aBrightness) ||
      !isSupported(platform.SetBrightness, kSetBrightnessName, kSetBrightnessNotSupported)) {
    return 0;
  }
  return reportOutcome(platform.SetBrightness(aBrightness), kSetBrightnessName, kBrightnessSet, kCannotSetBrightness,
                       aBrightness);
}

OmbrixHalBool OmbrixHalFrontDisplayGetBrightness(uint32_t* aBrightness) noexcept {
  if (!isLegal(aBrightness != nullptr, kGetBrightnessName, kIllegalNullBrightness) ||
      !isSupported(platform.GetBrightness, kGetBrightnessName, kGetBrightnessNotSupported)) {
    return 0;
  }
  return platform.GetBrightness(aBrightness);
}

OmbrixHalBool OmbrixHalFrontDisplaySetIcons(const uint32_t* aIcons, uint32_t aNoOfIcons) noexcept {
  if (!isLegal(aIcons != nullptr, kSetIconsName, kIllegalNullIcons) ||
      !isSupported(platform.SetIcons, kSetIconsName, kSetIconsNotSupported)) {
    return 0;
  }
  return reportOutcome(platform.SetIcons(aIcons, aNoOfIcons), kSetIconsName, kIconsSet, kCannotSetIcons);
}

OmbrixHalBool OmbrixHalFrontDisplayGetIcons(uint32_t* aIcons, uint32_t aIconsSize) noexcept {
  if (!isLegal(aIcons != nullptr, kGetIconsName, kIllegalNullIcons) ||
      !isLegal(aIconsSize != 0, kGetIconsName, kIllegalZeroIconsSize) ||
      !isSupported(platform.GetIcons, kGetIconsName, kGetIconsNotSupported)) {
    return 0;
  }
  return platform.GetIcons(aIcons, aIconsSize);
}

OmbrixHalBool OmbrixHalFrontDisplayAddIcons(const uint32_t* aIcons, uint32_t aNoOfIcons) noexcept {
  if (!isLegal(aIcons != nullptr, kAddIconsName, kIllegalNullIcons) ||
      !isLegal(aNoOfIcons != 0, kAddIconsName, kIllegalZeroNoOfIcons) ||
      !isSupported(platform.AddIcons, kAddIconsName, kAddIconsNotSupported)) {
    return 0;
  }
  return reportOutcome(platform.AddIcons(aIcons, aNoOfIcons), kAddIconsName, kIconsAdded, kCannotAddIcons);
}

OmbrixHalBool OmbrixHalFrontDisplayRemoveIcons(const uint32_t* aIcons, uint32_t aNoOfIcons) noexcept {
  if (!isLegal(aIcons != nullptr, kRemoveIconsName, kIllegalNullIcons) ||
      !isLegal(aNoOfIcons != 0, kRemoveIconsName, kIllegalZeroNoOfIcons) ||
      !isSupported(platform.RemoveIcons, kRemoveIconsName, kRemoveIconsNotSupported)) {
    return 0;
  }
  return reportOutcome(platform.RemoveIcons(aIcons, aNoOfIcons), kRemoveIconsName, kIconsRemoved,
                       kCannotRemoveIcons);
}
