/* Key events: the keys pressed in the application window, as middleware key codes.
 *
 * The application hands the window messages of its window to
 * OmbrixHalKeyEventWindowProcedure, either by making it the window's procedure or by
 * calling it from its own procedure for every message that it does not handle itself. The
 * HAL turns the key messages of the keys below into calls of the handler that the
 * middleware set with OmbrixHalKeyEventSetHandler, and passes every other message on to the
 * platform's default window procedure.
 *
 * Device keys and the middleware keys they become (virtual-key codes of the window system):
 *   '0' to '9' and the number pad's 0 to 9    OMBRIX_HAL_KEY_EVENT_KEY_0 to _9
 *   arrow up, down, left, right               _UP, _DOWN, _LEFT, _RIGHT
 *   Enter                                     _OK
 *   Backspace                                 _BACK
 *   Escape                                    _EXIT
 *   the context-menu key and F5               _MENU
 *   F6, F7, F8                                _INFO, _GUIDE, _TELETEXT
 *   Page Up, Page Down                        _CHANNEL_UP, _CHANNEL_DOWN
 *   Volume Up, Volume Down, Volume Mute       _VOLUME_UP, _VOLUME_DOWN, _MUTE
 *   F1, F2, F3, F4                            _RED, _GREEN, _YELLOW, _BLUE
 * Any other key goes to the default window procedure like any other message. */
#ifndef OMBRIX_HAL_KEY_EVENT_H
#define OMBRIX_HAL_KEY_EVENT_H

#include "OmbrixHalTypes.h"

/* A window procedure has the window system's calling convention. */
#if defined(_WIN32)
#  define OMBRIX_HAL_KEY_EVENT_CALLBACK __stdcall
#else
#  define OMBRIX_HAL_KEY_EVENT_CALLBACK
#endif

/* Middleware key codes. */
#define OMBRIX_HAL_KEY_EVENT_KEY_0 0u
#define OMBRIX_HAL_KEY_EVENT_KEY_1 1u
#define OMBRIX_HAL_KEY_EVENT_KEY_2 2u
#define OMBRIX_HAL_KEY_EVENT_KEY_3 3u
#define OMBRIX_HAL_KEY_EVENT_KEY_4 4u
#define OMBRIX_HAL_KEY_EVENT_KEY_5 5u
#define OMBRIX_HAL_KEY_EVENT_KEY_6 6u
#define OMBRIX_HAL_KEY_EVENT_KEY_7 7u
#define OMBRIX_HAL_KEY_EVENT_KEY_8 8u
#define OMBRIX_HAL_KEY_EVENT_KEY_9 9u
#define OMBRIX_HAL_KEY_EVENT_KEY_UP 10u
#define OMBRIX_HAL_KEY_EVENT_KEY_DOWN 11u
#define OMBRIX_HAL_KEY_EVENT_KEY_LEFT 12u
#define OMBRIX_HAL_KEY_EVENT_KEY_RIGHT 13u
#define OMBRIX_HAL_KEY_EVENT_KEY_OK 14u
#define OMBRIX_HAL_KEY_EVENT_KEY_BACK 15u
#define OMBRIX_HAL_KEY_EVENT_KEY_EXIT 16u
#define OMBRIX_HAL_KEY_EVENT_KEY_MENU 17u
#define OMBRIX_HAL_KEY_EVENT_KEY_INFO 18u
#define OMBRIX_HAL_KEY_EVENT_KEY_GUIDE 19u
#define OMBRIX_HAL_KEY_EVENT_KEY_TELETEXT 20u
#define OMBRIX_HAL_KEY_EVENT_KEY_CHANNEL_UP 21u
#define OMBRIX_HAL_KEY_EVENT_KEY_CHANNEL_DOWN 22u
#define OMBRIX_HAL_KEY_EVENT_KEY_VOLUME_UP 23u
#define OMBRIX_HAL_KEY_EVENT_KEY_VOLUME_DOWN 24u
#define OMBRIX_HAL_KEY_EVENT_KEY_MUTE 25u
#define OMBRIX_HAL_KEY_EVENT_KEY_RED 26u
#define OMBRIX_HAL_KEY_EVENT_KEY_GREEN 27u
#define OMBRIX_HAL_KEY_EVENT_KEY_YELLOW 28u
#define OMBRIX_HAL_KEY_EVENT_KEY_BLUE 29u

/* What happened to the key: first pressed, repeated while held (once per repeat the
 * keyboard reports), released. */
#define OMBRIX_HAL_KEY_EVENT_PRESSED 1u
#define OMBRIX_HAL_KEY_EVENT_REPEATED 2u
#define OMBRIX_HAL_KEY_EVENT_RELEASED 3u

OMBRIX_HAL_EXTERN_C_BEGIN

/* Called on the thread that runs the window's message loop, once per key message. */
typedef void (*OmbrixHalKeyEventHandler)(void* aContext, uint32_t aKey, uint32_t aEvent);

/* aWindow is the window's handle; aMessage, aWParam and aLParam are the message as the window
 * system delivers it. */
typedef intptr_t(OMBRIX_HAL_KEY_EVENT_CALLBACK* OmbrixHalKeyEventWindowProcedureFunction)(void* aWindow,
                                                                                         uint32_t aMessage,
                                                                                         uintptr_t aWParam,
                                                                                         intptr_t aLParam);

typedef struct OmbrixHalKeyEventPlatformInterface {
  OmbrixHalBool (*Init)(void);
  void (*Done)(void);
  /* Answers the messages that are not mapped keys. */
  OmbrixHalKeyEventWindowProcedureFunction DefaultWindowProcedure;
} OmbrixHalKeyEventPlatformInterface;

OMBRIX_HAL_API OmbrixHalBool OmbrixHalKeyEventInit(void) OMBRIX_HAL_NOEXCEPT;
/* Also forgets the handler. */
OMBRIX_HAL_API OmbrixHalBool OmbrixHalKeyEventDone(void) OMBRIX_HAL_NOEXCEPT;

/* Sets the one handler of key events; NULL stops the delivery, and the key messages go to the
 * default window procedure again. Set it before the window receives keys, or on the window's
 * own thread. */
OMBRIX_HAL_API void OmbrixHalKeyEventSetHandler(OmbrixHalKeyEventHandler aHandler, void* aContext) OMBRIX_HAL_NOEXCEPT;

/* The window procedure of the application window. A key-down or key-up message of a mapped
 * key, while a handler is set, reaches the handler and is answered 0; every other message
 * gets the answer of the platform's default window procedure (0 without one: the host has no
 * window system, and there this procedure lets a test program feed in key messages). */
OMBRIX_HAL_API intptr_t OMBRIX_HAL_KEY_EVENT_CALLBACK OmbrixHalKeyEventWindowProcedure(
    void* aWindow, uint32_t aMessage, uintptr_t aWParam, intptr_t aLParam) OMBRIX_HAL_NOEXCEPT;

OMBRIX_HAL_API OmbrixHalBool OmbrixHalKeyEventPlatformGetInterface(OmbrixHalKeyEventPlatformInterface* aInterface)
    OMBRIX_HAL_NOEXCEPT;

OMBRIX_HAL_EXTERN_C_END

#endif
