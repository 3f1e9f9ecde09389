// Private: the head that every filter kind begins with, and the list of live filters that
// makes OmbrixHalFilterReset safe for any word a tuner holds as a handler context.
#ifndef OMBRIX_HAL_T_FILTER_HEAD_H
#define OMBRIX_HAL_T_FILTER_HEAD_H

#include <cstddef>
#include <type_traits>

#include "OmbrixHalFilter.h"
#include "OmbrixHalTuner.h"

#define OMBRIX_HAL_FILTER_NAME_SIZE 16

static_assert(sizeof(OmbrixHalFilterParameter) == 40);

// What a filter kind does, in this slot order; a NULL slot is not supported by the kind.
struct OmbrixHalFilterOperations {
  OmbrixHalBool (*Destroy)(OmbrixHalFilterHandle aThis);
  OmbrixHalBool (*SetFilterHandler)(OmbrixHalFilterHandle aThis, OmbrixHalFilterHandler aHandler, void* aContext);
  OmbrixHalBool (*SetParameter)(OmbrixHalFilterHandle aThis, const OmbrixHalFilterParameter* aParameter);
  OmbrixHalBool (*GetParameter)(OmbrixHalFilterHandle aThis, OmbrixHalFilterParameter* aParameter);
  OmbrixHalBool (*Start)(OmbrixHalFilterHandle aThis);
  OmbrixHalBool (*Stop)(OmbrixHalFilterHandle aThis);
  OmbrixHalBool (*IsEnabled)(OmbrixHalFilterHandle aThis);
  void (*Reset)(OmbrixHalFilterHandle aThis);
};
static_assert(sizeof(OmbrixHalFilterOperations) == 8 * sizeof(void (*)()));

// A kind is a standard-layout struct whose first member is this head, named `head`.
struct OmbrixHalFilterHead {
  char name[OMBRIX_HAL_FILTER_NAME_SIZE];  // empty for every filter the client did not name
  OmbrixHalFilterOperations operations;
  OmbrixHalFilterType type;
  OmbrixHalFilterHandler handler;
  void (*ResetInfo)(OmbrixHalFilterHandle aThis);
  OmbrixHalBool (*GetInfo)(OmbrixHalFilterHandle aThis, void* aInfo);
  OmbrixHalFilterParameter parameter;
  uint32_t privateWords[3];
  void* context;
  OmbrixHalFilterHandle next;  // link of the list in which the filter stands
  OmbrixHalTunerHandle tuner;
  OmbrixHalFilterHandle nextLive;  // link of the live filters, see below
};
static_assert(std::is_standard_layout_v<OmbrixHalFilterHead>);

namespace ombrixhal {

// A kind's Create adds its filter once the head is filled, its Destroy removes it before the
// memory goes. Only filters so known are reset.
void addLiveFilter(OmbrixHalFilterHandle aFilter) noexcept;
void removeLiveFilter(OmbrixHalFilterHandle aFilter) noexcept;

}  // namespace ombrixhal

#endif
