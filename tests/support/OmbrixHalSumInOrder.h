// Several calls checked in one expectation, made from left to right: the operands of '+' may be
// evaluated in any order, the elements of a braced list may not.
#ifndef OMBRIX_HAL_SUM_IN_ORDER_H
#define OMBRIX_HAL_SUM_IN_ORDER_H

#include <cstdint>
#include <initializer_list>

namespace ombrixhal::test {

inline int64_t sumInOrder(std::initializer_list<int64_t> aResults) {
  int64_t sum = 0;
  for (int64_t result : aResults) {
    sum += result;
  }
  return sum;
}

}  // namespace ombrixhal::test

#endif
