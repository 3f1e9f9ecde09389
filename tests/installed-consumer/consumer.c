/* A minimal middleware: start the HAL, log through a handler, stop it. */
#include <OmbrixHal.h>
#include <stdio.h>

static int lines = 0;

static void onLog(void* aContext, const char* aFunctionName, uint32_t aLogId, uint32_t aSeverity,
                  const char* aText) {
  (void)aContext;
  ++lines;
  printf("%s 0x%04x %u %s\n", aFunctionName, (unsigned)aLogId, (unsigned)aSeverity, aText);
}

int main(void) {
  static const uintptr_t videoWindow[1] = {0}; /* the application's window record: no window yet */
  OmbrixHalInitParameter parameter = {0, (uintptr_t)videoWindow};
  OmbrixHalSetLogHandler(onLog, NULL);
  OmbrixHalEnableLog(OMBRIX_HAL_LOGGER_ID_ERROR);
  if (!OmbrixHalInit(&parameter)) {
    return 1;
  }
  OmbrixHalLoggerPrintf("main", OMBRIX_HAL_LOGGER_ID_ERROR, "HAL %s is up", OmbrixHalGetVersion());
  if (!OmbrixHalDone()) {
    return 1;
  }
  OmbrixHalSetLogHandler(NULL, NULL);
  return lines == 1 ? 0 : 1;
}
