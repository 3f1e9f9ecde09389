/* Video output: blanking, picture controls, aspect ratio and signal format per output device,
 * and the video window. */
#ifndef OMBRIX_HAL_VIDEO_OUT_H
#define OMBRIX_HAL_VIDEO_OUT_H

#include "OmbrixHalTypes.h"

OMBRIX_HAL_EXTERN_C_BEGIN

typedef enum OmbrixHalVideoOutDevice {
  OMBRIX_HAL_VIDEO_OUT_DEVICE_SCART_TV = 0,
  OMBRIX_HAL_VIDEO_OUT_DEVICE_SCART_VCR = 1,
  OMBRIX_HAL_VIDEO_OUT_DEVICE_S_VIDEO = 2,
  OMBRIX_HAL_VIDEO_OUT_DEVICE_CVBS = 3,
  OMBRIX_HAL_VIDEO_OUT_DEVICE_HDMI = 4,
  OMBRIX_HAL_VIDEO_OUT_DEVICE_YUV = 5
} OmbrixHalVideoOutDevice;

typedef enum OmbrixHalVideoOutAspectRatio {
  OMBRIX_HAL_VIDEO_OUT_ASPECT_RATIO_UNKNOWN = 0,
  OMBRIX_HAL_VIDEO_OUT_ASPECT_RATIO_4_3_FULL_SCREEN = 1,
  OMBRIX_HAL_VIDEO_OUT_ASPECT_RATIO_4_3_PAN_AND_SCAN = 2,
  OMBRIX_HAL_VIDEO_OUT_ASPECT_RATIO_4_3_LETTERBOX = 3,
  OMBRIX_HAL_VIDEO_OUT_ASPECT_RATIO_4_3_CENTER_CUT = 4,
  OMBRIX_HAL_VIDEO_OUT_ASPECT_RATIO_4_3_ZOOM = 5,
  OMBRIX_HAL_VIDEO_OUT_ASPECT_RATIO_16_9_FULL_SCREEN = 6,
  OMBRIX_HAL_VIDEO_OUT_ASPECT_RATIO_16_9_PILLARBOX = 7,
  OMBRIX_HAL_VIDEO_OUT_ASPECT_RATIO_16_9_VERTICAL_CUT = 8,
  OMBRIX_HAL_VIDEO_OUT_ASPECT_RATIO_16_9_ZOOM = 9
} OmbrixHalVideoOutAspectRatio;

typedef enum OmbrixHalVideoOutFormat {
  OMBRIX_HAL_VIDEO_OUT_FORMAT_UNKNOWN = 0,
  OMBRIX_HAL_VIDEO_OUT_FORMAT_DISABLED = 1,
  OMBRIX_HAL_VIDEO_OUT_FORMAT_CVBS = 2,
  OMBRIX_HAL_VIDEO_OUT_FORMAT_RGB = 3,
  OMBRIX_HAL_VIDEO_OUT_FORMAT_CVBS_RGB = 4,
  OMBRIX_HAL_VIDEO_OUT_FORMAT_S_VIDEO = 5,
  OMBRIX_HAL_VIDEO_OUT_FORMAT_576p = 6,
  OMBRIX_HAL_VIDEO_OUT_FORMAT_720p = 7,
  OMBRIX_HAL_VIDEO_OUT_FORMAT_1080i = 8
} OmbrixHalVideoOutFormat;

/* One output device and a value for it: an aspect ratio or a signal format. */
typedef struct OmbrixHalVideoOutDeviceValue {
  int32_t Device;
  int32_t Value;
} OmbrixHalVideoOutDeviceValue;

/* Percentages run from 0 to 100; pairs come as an array with their count. */
typedef struct OmbrixHalVideoOutPlatformInterface {
  OmbrixHalBool (*Init)(void);
  void (*Done)(void);
  OmbrixHalBool (*Blank)(void);
  OmbrixHalBool (*Unblank)(void);
  OmbrixHalBool (*SetBrightness)(uint32_t aPercent);
  OmbrixHalBool (*SetContrast)(uint32_t aPercent);
  OmbrixHalBool (*SetSaturation)(uint32_t aPercent);
  OmbrixHalBool (*SetAspectRatio)(const OmbrixHalVideoOutDeviceValue* aDeviceAspectRatios, uint32_t aCount);
  OmbrixHalBool (*GetAspectRatio)(OmbrixHalVideoOutDeviceValue* aDeviceAspectRatios, uint32_t aCount);
  OmbrixHalBool (*SetDeviceFormats)(const OmbrixHalVideoOutDeviceValue* aDeviceFormats, uint32_t aCount);
  OmbrixHalBool (*GetDeviceFormats)(OmbrixHalVideoOutDeviceValue* aDeviceFormats, uint32_t aCount);
  OmbrixHalBool (*SetWindow)(int32_t aX, int32_t aY, int32_t aWidth, int32_t aHeight);
} OmbrixHalVideoOutPlatformInterface;

OMBRIX_HAL_API OmbrixHalBool OmbrixHalVideoOutInit(void) OMBRIX_HAL_NOEXCEPT;
OMBRIX_HAL_API void OmbrixHalVideoOutDone(void) OMBRIX_HAL_NOEXCEPT;

/* On this platform only the aspect ratio has an effect (it selects the player's full-screen
 * format); device formats are accepted and ignored, the other operations are not supported. */
OMBRIX_HAL_API OmbrixHalBool OmbrixHalVideoOutBlank(void) OMBRIX_HAL_NOEXCEPT;
OMBRIX_HAL_API OmbrixHalBool OmbrixHalVideoOutUnblank(void) OMBRIX_HAL_NOEXCEPT;
/* aPercent from 0 to 100. */
OMBRIX_HAL_API OmbrixHalBool OmbrixHalVideoOutSetBrightness(uint32_t aPercent) OMBRIX_HAL_NOEXCEPT;
OMBRIX_HAL_API OmbrixHalBool OmbrixHalVideoOutSetContrast(uint32_t aPercent) OMBRIX_HAL_NOEXCEPT;
OMBRIX_HAL_API OmbrixHalBool OmbrixHalVideoOutSetSaturation(uint32_t aPercent) OMBRIX_HAL_NOEXCEPT;
/* Returns the platform's answer. Each pair with a known device and value is remembered whatever
 * the platform answered; the others are skipped. */
OMBRIX_HAL_API OmbrixHalBool OmbrixHalVideoOutSetAspectRatio(const OmbrixHalVideoOutDeviceValue* aDeviceAspectRatios,
                                                             uint32_t aCount) OMBRIX_HAL_NOEXCEPT;
/* Fills in the value of each pair whose device the caller set: the platform's, or the one
 * remembered (0 for an unknown device). */
OMBRIX_HAL_API OmbrixHalBool OmbrixHalVideoOutGetAspectRatio(OmbrixHalVideoOutDeviceValue* aDeviceAspectRatios,
                                                             uint32_t aCount) OMBRIX_HAL_NOEXCEPT;
OMBRIX_HAL_API OmbrixHalBool OmbrixHalVideoOutSetDeviceFormats(const OmbrixHalVideoOutDeviceValue* aDeviceFormats,
                                                               uint32_t aCount) OMBRIX_HAL_NOEXCEPT;
OMBRIX_HAL_API OmbrixHalBool OmbrixHalVideoOutGetDeviceFormats(OmbrixHalVideoOutDeviceValue* aDeviceFormats,
                                                               uint32_t aCount) OMBRIX_HAL_NOEXCEPT;
OMBRIX_HAL_API OmbrixHalBool OmbrixHalVideoOutSetWindow(int32_t aX, int32_t aY, int32_t aWidth,
                                                        int32_t aHeight) OMBRIX_HAL_NOEXCEPT;

OMBRIX_HAL_API OmbrixHalBool OmbrixHalVideoOutPlatformGetInterface(OmbrixHalVideoOutPlatformInterface* aInterface)
    OMBRIX_HAL_NOEXCEPT;

OMBRIX_HAL_EXTERN_C_END

#endif
