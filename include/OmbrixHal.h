/* The whole public interface of the HAL. */
#ifndef OMBRIX_HAL_H
#define OMBRIX_HAL_H

#include "OmbrixHalAppDsub.h"
#include "OmbrixHalCi.h"
#include "OmbrixHalClock.h"
#include "OmbrixHalConsole.h"
#include "OmbrixHalCriticalSection.h"
#include "OmbrixHalDateTime.h"
#include "OmbrixHalFile.h"
#include "OmbrixHalFilter.h"
#include "OmbrixHalFilterFileAnalogEpr.h"
#include "OmbrixHalFilterFileDigitalTs.h"
#include "OmbrixHalFilterPesToTtx.h"
#include "OmbrixHalFilterTsToPcr.h"
#include "OmbrixHalFilterTsToPes.h"
#include "OmbrixHalFilterTsToSection.h"
#include "OmbrixHalFrame.h"
#include "OmbrixHalFrontDisplay.h"
#include "OmbrixHalKeyEvent.h"
#include "OmbrixHalLogger.h"
#include "OmbrixHalMapFilter.h"
#include "OmbrixHalMemory.h"
#include "OmbrixHalPower.h"
#include "OmbrixHalThread.h"
#include "OmbrixHalTimer.h"
#include "OmbrixHalTuner.h"
#include "OmbrixHalTunerFileDigital.h"
#include "OmbrixHalTypes.h"
#include "OmbrixHalUart.h"
#include "OmbrixHalVersion.h"

#endif
