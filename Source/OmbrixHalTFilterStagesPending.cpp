// Until the chain stages land, none can be made: chains end at their root.
#include "OmbrixHalFilterTsToPes.h"
#include "OmbrixHalFilterTsToPcr.h"
#include "OmbrixHalFilterPesToTtx.h"
OmbrixHalFilterHandle OmbrixHalFilterTsToPesCreate(OmbrixHalFilterHandle) noexcept { return nullptr; }
OmbrixHalFilterHandle OmbrixHalFilterTsToPcrCreate(OmbrixHalFilterHandle) noexcept { return nullptr; }
OmbrixHalFilterHandle OmbrixHalFilterPesToTtxCreate(OmbrixHalFilterHandle) noexcept { return nullptr; }
