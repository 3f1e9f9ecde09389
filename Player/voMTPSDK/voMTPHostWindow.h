/* The host player library's own calls beyond the vendor's: its one window, which stands for the
   application's video window. The HAL's host platform looks them up by name in the loaded
   library, so a library without them (the emulator) leaves its window calls as they were.
   Without a display, or headless, there is no window: the calls take every request. */
#ifndef VO_MTP_HOST_WINDOW_H
#define VO_MTP_HOST_WINDOW_H

#include "voMTPSDK.h"

#ifdef __cplusplus
extern "C" {
#endif

/* The screen's width (aIndex 0) or height (1) in pixels; 0 without a display. */
typedef int32_t (*voMTPHostScreenSizeFunction)(int32_t aIndex);
/* Fills (0, 0, aWidth, aHeight) of the window with aColour (0x00BBGGRR); 1 when done. */
typedef int32_t (*voMTPHostFillWindowFunction)(int32_t aWidth, int32_t aHeight, uint32_t aColour);
/* Puts the window at the screen's origin, aWidth x aHeight, on top of all others; 1 when done. */
typedef int32_t (*voMTPHostPlaceWindowFunction)(int32_t aWidth, int32_t aHeight);

/* Receives the window's key messages as the device's window system delivers them: key down
   (0x0100, bit 30 of aLParam set for a repeat) and key up (0x0101), with the virtual-key code in
   aWParam. */
typedef intptr_t (*voMTPHostWindowProcedure)(void* aWindow, uint32_t aMessage, uintptr_t aWParam, intptr_t aLParam);
/* Sets the procedure that the window's keys go to, on a thread of the library's; NULL stops. */
typedef int32_t (*voMTPHostSetWindowProcedureFunction)(voMTPHostWindowProcedure aProcedure);

#define VOMTP_HOST_SCREEN_SIZE "voMTPHostScreenSize"
#define VOMTP_HOST_FILL_WINDOW "voMTPHostFillWindow"
#define VOMTP_HOST_PLACE_WINDOW "voMTPHostPlaceWindow"
#define VOMTP_HOST_SET_WINDOW_PROCEDURE "voMTPHostSetWindowProcedure"

VOMTP_API int32_t voMTPHostScreenSize(int32_t aIndex);
VOMTP_API int32_t voMTPHostFillWindow(int32_t aWidth, int32_t aHeight, uint32_t aColour);
VOMTP_API int32_t voMTPHostPlaceWindow(int32_t aWidth, int32_t aHeight);
VOMTP_API int32_t voMTPHostSetWindowProcedure(voMTPHostWindowProcedure aProcedure);

#ifdef __cplusplus
}
#endif

#endif
