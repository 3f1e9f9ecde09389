/* Drives the HAL as a middleware does: starts it, shows what it reports, stops it. */
#include <stdio.h>

#include "OmbrixHal.h"

static void printLogLine(void* aContext, const char* aFunctionName, uint32_t aLogId, uint32_t aSeverity,
                         const char* aText) {
  static const char* const severityNames[] = {"?", "error", "warning", "info"};
  (void)aContext;
  printf("  log %-7s 0x%04x %s: %s\n", severityNames[aSeverity <= 3 ? aSeverity : 0], (unsigned)aLogId,
         aFunctionName, aText);
}

int main(void) {
  OmbrixHalInitParameter parameter = {1, 1}; /* checking allocator; a non-zero platform argument */
  char message[128];

  OmbrixHalSetLogHandler(printLogLine, NULL);
  OmbrixHalEnableLog(OMBRIX_HAL_LOGGER_ID_ERROR);
  OmbrixHalEnableLog(OMBRIX_HAL_LOGGER_ID_WARNING);
  OmbrixHalEnableLog(OMBRIX_HAL_LOGGER_ID_INFO);

  printf("Ombrix HAL %s\n", OmbrixHalGetVersion());
  printf("start-up:\n");
  if (!OmbrixHalInit(&parameter)) {
    fprintf(stderr, "ombrixhal-inspect: the HAL did not start\n");
    return 1;
  }
  if (!OmbrixHalCheckVersion("1.30", message, sizeof message)) {
    fprintf(stderr, "ombrixhal-inspect: %s\n", message);
  }
  printf("memory statistics:\n");
  OmbrixHalMemoryPrintStatistics();
  printf("shut-down:\n");
  OmbrixHalDone();
  OmbrixHalSetLogHandler(NULL, NULL);
  return 0;
}
