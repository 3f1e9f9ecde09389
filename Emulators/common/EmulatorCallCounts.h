// How often each call of an emulated library was made since the last reset, counted on past the
// recorded calls' limit. Shared by our emulators; the caller holds their lock.
#ifndef EMULATOR_CALL_COUNTS_H
#define EMULATOR_CALL_COUNTS_H

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <string_view>

namespace emulatorcommon {

class CallCounts {
 public:
  void count(const char* aFunction) {
    auto count = counts_.find(std::string_view(aFunction));
    if (count == counts_.end()) {
      count = counts_.emplace(aFunction, 0).first;
    }
    ++count->second;
  }
  // 0 for NULL or a function never called.
  uint32_t of(const char* aFunction) const {
    const auto count = aFunction != nullptr ? counts_.find(std::string_view(aFunction)) : counts_.end();
    return count != counts_.end() ? count->second : 0;
  }
  void clear() { counts_.clear(); }

 private:
  std::map<std::string, uint32_t, std::less<>> counts_;
};

}  // namespace emulatorcommon

#endif
