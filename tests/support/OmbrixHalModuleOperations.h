// Test support for modules whose platform slots answer yes or no (video and audio output, front
// display): fake slots that note which of them was called and how, and a table of operations
// checked on them.
#ifndef OMBRIX_HAL_MODULE_OPERATIONS_H
#define OMBRIX_HAL_MODULE_OPERATIONS_H

#include "OmbrixHalTestFixture.h"

namespace ombrixhal::test {

// What the fake slots answer, and what reached them: the slot's place in its table, then its
// arguments (pointers as addresses).
inline OmbrixHalBool slotAnswer = 1;
inline std::vector<intptr_t> slotCalls;

template <intptr_t kPlace, typename... Arguments>
OmbrixHalBool slot(Arguments... arguments) noexcept {
  slotCalls.insert(slotCalls.end(), {kPlace, (intptr_t)arguments...});
  return slotAnswer;
}

// An operation called with good arguments, then, where it has a refusal, with a bad one. One whose
// failure has a line, even "", warns when its slot is missing; the others answer from what the
// module keeps.
struct ModuleOperation {
  std::string name;  // after the module's prefix
  std::function<OmbrixHalBool(bool good)> call;
  std::vector<intptr_t> slotCall;  // what reaches the slots, as slotCalls holds it
  const char* outcome[2];          // its line when the slot answers 0, and 1; "" or NULL: silent
  OmbrixHalBool withoutSlot;       // its answer when no slot is there
  LogLine refusal = {};            // under the operation's name; no slot is asked
  // Lines after the outcome's, at its level: each text after the prefix.
  std::string morePrefix = {};
  std::vector<std::string> more = {};
};

// Tests of a module that takes its platform table from `seam`, started on `slots`.
template <typename Interface, GetInterfaceFunction<Interface>& seam, const Interface& slots>
class OfferedSlotsTest : public HalTest {
 protected:
  OfferedSlotsTest() { offered.table = slots; }

  // Starts again on `table`.
  void offer(const Interface& table) {
    offered.table = table;
    restart();
  }

  // Calls `call` on slots answering `answer`, and checks its result and its lines.
  void step(OmbrixHalBool answer, const auto& call, OmbrixHalBool result, const std::vector<LogLine>& lines) {
    slotAnswer = answer;
    EXPECT_EQ(call(), result);
    EXPECT_EQ(log.take(), lines);
  }

  // Runs the rows on `slots` answering 1, then 0, then on none, where a missing slot warns
  // "<missingSlot> '<export>'". The bad call comes last, so that what it must not change shows
  // in later rows.
  void checkOperations(const auto& rows, const std::string& prefix, const std::string& missingSlot) {
    for (const OmbrixHalBool answer : {1, 0, -1}) {
      offer(answer != -1 ? slots : Interface{});
      for (const ModuleOperation& row : rows) {
        const std::string name = prefix + row.name;
        SCOPED_TRACE(name + " on slots answering " + std::to_string(answer));
        std::vector<LogLine> expected;
        if (answer == -1 && row.outcome[0] != nullptr) {
          expected = {warning(name, missingSlot + " '" + name + "'")};
        } else if (const char* outcome = answer != -1 ? row.outcome[answer] : nullptr; outcome && *outcome) {
          expected = {answer ? info(name, outcome) : error(name, outcome)};
          for (const std::string& text : row.more) {
            expected.push_back({name, expected[0].id, expected[0].severity, row.morePrefix + text});
          }
        }
        slotCalls.clear();
        step(answer, [&] { return row.call(true); }, answer != -1 ? answer : row.withoutSlot, expected);
        if (!row.refusal.text.empty()) {
          step(answer, [&] { return row.call(false); }, 0, {error(name, row.refusal.text, row.refusal.id)});
        }
        EXPECT_EQ(slotCalls, answer != -1 ? row.slotCall : std::vector<intptr_t>{});
      }
    }
  }

  OfferedPlatformInterface<Interface> offered{seam};
};

}  // namespace ombrixhal::test

#endif
