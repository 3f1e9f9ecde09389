/* Front display: the text, brightness and icons of the box's front panel. */
#ifndef OMBRIX_HAL_FRONT_DISPLAY_H
#define OMBRIX_HAL_FRONT_DISPLAY_H

#include "OmbrixHalTypes.h"

#define OMBRIX_HAL_FRONT_DISPLAY_BRIGHTNESS_MIN 1u
#define OMBRIX_HAL_FRONT_DISPLAY_BRIGHTNESS_MAX 100u

OMBRIX_HAL_EXTERN_C_BEGIN

/* Texts are strings of 16-bit characters ending in 0. Positions and icon numbers are the
 * display's own and are passed to the platform unchanged. */
typedef struct OmbrixHalFrontDisplayPlatformInterface {
  OmbrixHalBool (*Init)(void);
  void (*Done)(void);
  OmbrixHalBool (*GetSize)(uint32_t* aNoOfLines, uint32_t* aNoOfColumns);
  OmbrixHalBool (*SetString)(uint32_t aLine, uint32_t aColumn, const uint16_t* aString);
  OmbrixHalBool (*GetString)(uint32_t aLine, uint16_t* aBuffer, uint32_t aBufferSize);
  OmbrixHalBool (*SetBrightness)(uint32_t aBrightness);
  OmbrixHalBool (*GetBrightness)(uint32_t* aBrightness);
  OmbrixHalBool (*SetIcons)(const uint32_t* aIcons, uint32_t aNoOfIcons);
  OmbrixHalBool (*GetIcons)(uint32_t* aIcons, uint32_t aIconsSize);
  OmbrixHalBool (*AddIcons)(const uint32_t* aIcons, uint32_t aNoOfIcons);
  OmbrixHalBool (*RemoveIcons)(const uint32_t* aIcons, uint32_t aNoOfIcons);
} OmbrixHalFrontDisplayPlatformInterface;

OMBRIX_HAL_API OmbrixHalBool OmbrixHalFrontDisplayInit(void) OMBRIX_HAL_NOEXCEPT;
OMBRIX_HAL_API void OmbrixHalFrontDisplayDone(void) OMBRIX_HAL_NOEXCEPT;

/* This platform has no front display: the setters report failure and the getters are not
 * supported. Every operation returns 0 on a bad argument. */
OMBRIX_HAL_API OmbrixHalBool OmbrixHalFrontDisplayGetSize(uint32_t* aNoOfLines,
                                                         uint32_t* aNoOfColumns) OMBRIX_HAL_NOEXCEPT;
OMBRIX_HAL_API OmbrixHalBool OmbrixHalFrontDisplaySetString(uint32_t aLine, uint32_t aColumn,
                                                           const uint16_t* aString) OMBRIX_HAL_NOEXCEPT;
/* aBufferSize counts 16-bit characters and must not be 0. */
OMBRIX_HAL_API OmbrixHalBool OmbrixHalFrontDisplayGetString(uint32_t aLine, uint16_t* aBuffer,
                                                           uint32_t aBufferSize) OMBRIX_HAL_NOEXCEPT;
/* aBrightness in percent, 1 to 100. */
OMBRIX_HAL_API OmbrixHalBool OmbrixHalFrontDisplaySetBrightness(uint32_t aBrightness) OMBRIX_HAL_NOEXCEPT;
OMBRIX_HAL_API OmbrixHalBool OmbrixHalFrontDisplayGetBrightness(uint32_t* aBrightness) OMBRIX_HAL_NOEXCEPT;
/* Replaces all icons that are on by the aNoOfIcons icons of aIcons. */
OMBRIX_HAL_API OmbrixHalBool OmbrixHalFrontDisplaySetIcons(const uint32_t* aIcons,
                                                          uint32_t aNoOfIcons) OMBRIX_HAL_NOEXCEPT;
/* aIconsSize counts icons and must not be 0. */
OMBRIX_HAL_API OmbrixHalBool OmbrixHalFrontDisplayGetIcons(uint32_t* aIcons, uint32_t aIconsSize) OMBRIX_HAL_NOEXCEPT;
/* Switch the given icons on or off, leaving the others as they are; aNoOfIcons must not be 0. */
OMBRIX_HAL_API OmbrixHalBool OmbrixHalFrontDisplayAddIcons(const uint32_t* aIcons,
                                                          uint32_t aNoOfIcons) OMBRIX_HAL_NOEXCEPT;
OMBRIX_HAL_API OmbrixHalBool OmbrixHalFrontDisplayRemoveIcons(const uint32_t* aIcons,
                                                             uint32_t aNoOfIcons) OMBRIX_HAL_NOEXCEPT;

OMBRIX_HAL_API OmbrixHalBool OmbrixHalFrontDisplayPlatformGetInterface(
    OmbrixHalFrontDisplayPlatformInterface* aInterface) OMBRIX_HAL_NOEXCEPT;

OMBRIX_HAL_EXTERN_C_END

#endif
