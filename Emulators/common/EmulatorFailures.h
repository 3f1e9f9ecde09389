// Programmed failures of an emulated library's calls: from now on, the aNth call of a function
// answers a given result and does nothing else. Shared by our emulators; the caller holds their
// lock.
#ifndef EMULATOR_FAILURES_H
#define EMULATOR_FAILURES_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace emulatorcommon {

class ProgrammedFailures {
 public:
  // Several may be pending for one function; an aNth of 0 cancels that function's.
  void program(const char* aFunction, uint32_t aNth, int32_t aResult) {
    if (aNth == 0) {
      std::erase_if(failures_, [&](const Failure& failure) { return failure.function == aFunction; });
    } else {
      failures_.push_back({aFunction, aNth, aResult});
    }
  }
  // The failure due with this call of aFunction, if any; the function's others count down.
  std::optional<int32_t> take(const char* aFunction) {
    std::optional<int32_t> result;
    for (auto failure = failures_.begin(); failure != failures_.end();) {
      if (failure->function == aFunction && --failure->remaining == 0) {
        result = result.value_or(failure->result);
        failure = failures_.erase(failure);
      } else {
        ++failure;
      }
    }
    return result;
  }
  void clear() { failures_.clear(); }

 private:
  struct Failure {
    std::string function;
    uint32_t remaining;
    int32_t result;
  };
  std::vector<Failure> failures_;
};

}  // namespace emulatorcommon

#endif
