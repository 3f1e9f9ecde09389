// Until the chain stages land, none can be made: chains end at their root.
#include "OmbrixHalFilterTsToSection.h"
#include "OmbrixHalFilterTsToPes.h"
#include "OmbrixHalFilterTsToPcr.h"
#include "OmbrixHalFilterPesToTtx.h"
OmbrixHalFilterHandle OmbrixHalFilterTsToSectionCreate(OmbrixHalFilterHandle) noexcept { return nullptr; }
OmbrixHalFilterHandle OmbrixHalFilterTsToPesCreate(OmbrixHalFilterHandle) noexcept { return nullptr; }
OmbrixHalFilterHandle OmbrixHalFilterTsToPcrCreate(OmbrixHalFilterHandle) noexcept { return nullptr; }
OmbrixHalFilterHandle OmbrixHalFilterPesToTtxCreate(OmbrixHalFilterHandle) noexcept { return nullptr; }
