/* The C edge as a C99 middleware sees it: the headers compile as C, nothing is logged
 * before the middleware enables ids, and the memory macros pass the caller's position. */
#include <stdio.h>
#include <string.h>

#include "OmbrixHal.h"

static int failures = 0;
static int checks = 0;
#define MAX_LINES 16
static char texts[MAX_LINES][OMBRIX_HAL_LOGGER_TEXT_LENGTH + 1];
static int lineCount = 0;

static void check(int condition, const char* description) {
  ++checks;
  if (!condition) {
    ++failures;
    fprintf(stderr, "FAILED: %s\n", description);
  }
}

static void recordLine(void* aContext, const char* aFunctionName, uint32_t aLogId, uint32_t aSeverity,
                       const char* aText) {
  (void)aContext, (void)aFunctionName, (void)aLogId, (void)aSeverity;
  if (lineCount < MAX_LINES) {
    strncpy(texts[lineCount], aText, OMBRIX_HAL_LOGGER_TEXT_LENGTH);
  }
  ++lineCount;
}

int main(void) {
  static const uintptr_t videoWindow[1] = {0}; /* the application's window record: no window yet */
  OmbrixHalInitParameter parameter = {1, (uintptr_t)videoWindow};
  void* block;
  int allocationLine;
  char expected[128];
  OmbrixHalTunerParameter tuning;

  OmbrixHalSetLogHandler(recordLine, NULL);
  OmbrixHalLoggerPrintf("main", OMBRIX_HAL_LOGGER_ID_ERROR, "before enabling");
  OmbrixHalLoggerPrint("main", 0x3001);
  check(lineCount == 0, "every id is disabled at load");

  check(OmbrixHalEnableLog(OMBRIX_HAL_LOGGER_ID_INFO) == 1, "infos can be enabled");
  check(OmbrixHalInit(&parameter) == 1, "the HAL starts with the header's own version");

  block = OmbrixHalMemoryAllocate(24); allocationLine = __LINE__;
  check(block != NULL, "a block is allocated");
  lineCount = 0;
  OmbrixHalMemoryPrintStatistics();
  snprintf(expected, sizeof expected, "OmbrixHalCApiTest.c(Line %d) 24 bytes", allocationLine);
  check(lineCount == 5, "the statistics are one block line and four totals");
  check(strstr(texts[0], expected) != NULL, "the allocate macro passes this file and line");
  OmbrixHalMemoryFree(block);

  check(OmbrixHalTunerParamParser("DVB-T: freq=474000", &tuning) == 1 && tuning.Type == OMBRIX_HAL_TUNER_TYPE_DVB_T &&
            tuning.DvbT.Bandwidth == OMBRIX_HAL_TUNER_BANDWIDTH_8_MHZ,
        "a tuning line fills the record's DVB-T layout as C sees it");

  /* An export that does nothing on this platform links from C like the rest. */
  check(AppDsubSetFrameTimeForSync(40) == 0, "the frame-time hook answers 0");

  check(OmbrixHalDone() == 1, "the HAL shuts down");
  OmbrixHalDisableLog(OMBRIX_HAL_LOGGER_ID_INFO);
  OmbrixHalSetLogHandler(NULL, NULL);

  printf("%d passed, %d failed\n", checks - failures, failures);
  return failures == 0 ? 0 : 1;
}
