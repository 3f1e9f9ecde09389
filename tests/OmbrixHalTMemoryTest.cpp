// Tests of the memory module: plain forwarding, the block records and list of the checking
// mode, the statistics, the leak report at shutdown and the gaps of the platform table.
#include <cstddef>
#include <cstdlib>
#include <tuple>

#include "OmbrixHalTestFixture.h"

namespace ombrixhal::test {
namespace {

using PlatformAllocation = std::tuple<uint32_t, std::string, uint32_t, void*>;  // size, file, line, memory

// What the memory platform saw. Blocks are released only by the fixture, so that blocks the
// module keeps at shutdown do not leak for real.
struct Recorded {
  std::vector<PlatformAllocation> allocations;
  std::vector<void*> frees;
  bool failAllocations = false;
} recorded;

void* recordingAllocate(uint32_t aSize, const char* aFile, uint32_t aLine) noexcept {
  void* memory = recorded.failAllocations ? nullptr : std::malloc(aSize);
  recorded.allocations.push_back({aSize, aFile, aLine, memory});
  return memory;
}

void recordingFree(void* aMemoryPtr) noexcept { recorded.frees.push_back(aMemoryPtr); }

// The library runs on the recording allocator, in checking mode unless a test restarts it.
class RecordedMemoryTest : public HalTest {
 protected:
  RecordedMemoryTest() { offered.table = {nullptr, nullptr, recordingAllocate, recordingFree}; }

  void TearDown() override {
    HalTest::TearDown();
    for (const PlatformAllocation& allocation : recorded.allocations) {
      std::free(std::get<void*>(allocation));
    }
    recorded = {};
  }

  OfferedPlatformInterface<OmbrixHalMemoryPlatformInterface> offered{seam::memoryPlatformGetInterface};
};

// The status report's lines: infos from PrintStatistics, errors from Done.
std::vector<LogLine> report(const std::vector<std::string>& texts, bool asErrors = false) {
  std::vector<LogLine> lines;
  for (const std::string& text : texts) {
    lines.push_back(asErrors ? error("OmbrixHalMemoryPrintStatus", text) : info("OmbrixHalMemoryPrintStatus", text));
  }
  return lines;
}

using MemoryPlainMode = RecordedMemoryTest;

TEST_F(MemoryPlainMode, ForwardsToThePlatformAndReportsNothing) {
  restart(0);
  void* block = OmbrixHalMemoryAllocate_(24, "plain.c", 7);
  EXPECT_EQ(recorded.allocations.at(0), (PlatformAllocation{24, "plain.c", 7, block})) << "no record in front";
  OmbrixHalMemoryPrintStatistics();
  ASSERT_EQ(OmbrixHalDone(), 1);
  EXPECT_TRUE(log.lines().empty()) << "neither statistics nor a leak report";
  restart(0);
  OmbrixHalMemoryFree_(block, "plain.c", 8);
  EXPECT_EQ(recorded.frees, std::vector{block});
}

using MemoryChecking = RecordedMemoryTest;

// Failed allocations come first: they return NULL silently and count nowhere, and sizes that wrap
// round with the record must not reach the platform as small requests. Line numbers 63, 64 and 70
// are the names' lengths: 63 characters fit, longer names keep "..." and their last 60.
TEST_F(MemoryChecking, RecordsSitBeforeTheCallersMemoryAndTheListHoldsOnlyAllocatedBlocksInOrder) {
  recorded.failAllocations = true;
  EXPECT_EQ(OmbrixHalMemoryAllocate_(16, "fail.c", 1), nullptr);
  recorded.failAllocations = false;
  EXPECT_EQ(OmbrixHalMemoryAllocate_(UINT32_MAX - 40, "huge.c", 3), nullptr);
  EXPECT_EQ(recorded.allocations.size(), 1u);
  auto* head = static_cast<unsigned char*>(OmbrixHalMemoryAllocate_(10, "head.c", 1));
  void* platformHead = std::get<void*>(recorded.allocations.at(1));
  const auto recordSize = static_cast<uint32_t>(head - static_cast<unsigned char*>(platformHead));
  EXPECT_EQ(recorded.allocations[1], (PlatformAllocation{10 + recordSize, "head.c", 1, platformHead}));
  EXPECT_GE(recordSize, 76u);
  EXPECT_TRUE(sizeof(void*) == 4 || reinterpret_cast<uintptr_t>(head) % alignof(std::max_align_t) == 0)
      << "on 64 bits the caller's memory keeps the allocator's alignment";
  OmbrixHalMemoryAllocate_(20, "middleware/source/tuner/parameters/TunerParameterTextParser.cpp", 63);
  void* middle = OmbrixHalMemoryAllocate_(30, "middle.c", 3);
  auto* second = static_cast<unsigned char*>(
      OmbrixHalMemoryAllocate_(40, "/home/builder/middleware/source/filters/sections/SectionsAssembler.cpp", 70));
  void* tail = OmbrixHalMemoryAllocate_(50, "tail.c", 5);
  for (void* block : {middle, tail, static_cast<void*>(head)}) {
    OmbrixHalMemoryFree(block);
  }
  OmbrixHalMemoryFree_(head, "stale.c", 99);
  OmbrixHalMemoryFree_(second + 4, "inside.c", 6);
  EXPECT_EQ(
      log.take(),
      (std::vector{error("OmbrixHalMemoryFree", "Cannot free memory block. Freed twice? Freed: stale.c(Line 99)"),
                   error("OmbrixHalMemoryFree", "Cannot free memory block. Freed twice? Freed: inside.c(Line 6)")}));
  EXPECT_EQ(recorded.frees.size(), 3u) << "nothing more reaches the platform";
  EXPECT_EQ(recorded.frees[2], platformHead) << "the platform gets its own pointer back";

  OmbrixHalMemoryAllocate_(5, "middleware/source/tuners/parameters/TunerParameterTextParser.cpp", 64);
  OmbrixHalMemoryPrintStatistics();
  EXPECT_EQ(
      log.lines(),
      report({"Allocated block: middleware/source/tuner/parameters/TunerParameterTextParser.cpp(Line 63) 20 bytes",
              "Allocated block: ...der/middleware/source/filters/sections/SectionsAssembler.cpp(Line 70) 40 bytes",
              "Allocated block: ...leware/source/tuners/parameters/TunerParameterTextParser.cpp(Line 64) 5 bytes",
              "Maximal allocated Memory: 150", "Currently allocated Memory: 65", "Allocated Blocks: 3",
              "Additional estimated overhead, because of checks: 228"}));
  expectLeakedBlocks(3);  // Done reports them; the fixture releases them
}

using MemoryShutdown = RecordedMemoryTest;

TEST_F(MemoryShutdown, DoneReportsOnlyLeakedBlocksAsErrorsAndKeepsThem) {
  OmbrixHalMemoryFree(OmbrixHalMemoryAllocate_(32, "tidy.c", 1));
  ASSERT_EQ(OmbrixHalDone(), 1);
  EXPECT_TRUE(log.lines().empty());

  restart();
  OmbrixHalMemoryFree(OmbrixHalMemoryAllocate_(200, "peak.c", 10));
  OmbrixHalMemoryAllocate_(48, "leak.c", 31);
  OmbrixHalMemoryAllocate_(16, "leak.c", 32);
  ASSERT_EQ(OmbrixHalDone(), 1);
  EXPECT_EQ(log.lines(),
            report({"Allocated block: leak.c(Line 31) 48 bytes", "Allocated block: leak.c(Line 32) 16 bytes",
                    "Maximal allocated Memory: 200", "Currently allocated Memory: 64", "Allocated Blocks: 2",
                    "Additional estimated overhead, because of checks: 152"},
                   /*asErrors=*/true));
  EXPECT_EQ(recorded.frees.size(), 2u) << "only the freed two: the leaked ones' owners may still hold them";
  restart();  // for the fixture's shutdown
}

using MemoryPlatformGaps = RecordedMemoryTest;

// Kept: the table text of the warning class replaces the module's own text.
TEST_F(MemoryPlatformGaps, MissingSlotsWarnWithTheClassTextAfterTheArgumentCheck) {
  offered.table = {};
  int callersBlock = 0;
  for (uint32_t memoryCheck : {1u, 0u}) {
    SCOPED_TRACE(memoryCheck);
    restart(memoryCheck);
    EXPECT_EQ(OmbrixHalMemoryAllocate_(16, "gap.c", 1), nullptr);
    OmbrixHalMemoryFree_(nullptr, "gap.c", 2);
    OmbrixHalMemoryFree_(&callersBlock, "gap.c", 3);
    EXPECT_EQ(log.lines(), (std::vector{warning("OmbrixHalMemoryAllocate", "All warnings"),
                                        error("OmbrixHalMemoryFree", "Illegal parameter 'NULL' for 'aMemoryPtr'"),
                                        warning("OmbrixHalMemoryFree", "All warnings")}));
  }
}

using MemoryThreads = HalTest;

// On the platform's own allocator, so that the sanitizers watch every block and the list's lock.
TEST_F(MemoryThreads, ConcurrentAllocationsKeepTheListAndTotalsConsistent) {
  runOnThreads(4, [](int) {
    for (uint32_t round = 0; round < 500; ++round) {
      void* older = OmbrixHalMemoryAllocate_(1 + round % 64, "worker.c", round);
      void* newer = OmbrixHalMemoryAllocate_(8, "worker.c", round);
      OmbrixHalMemoryFree(older);  // unlinks an inner block while other threads append
      OmbrixHalMemoryFree(newer);
    }
  });
  OmbrixHalMemoryPrintStatistics();  // a failed allocation would have logged its NULL free first
  const std::vector<LogLine> lines = log.lines();
  ASSERT_EQ(lines.size(), 4u) << ::testing::PrintToString(lines);
  EXPECT_EQ(std::vector(lines.begin() + 1, lines.end()),
            report({"Currently allocated Memory: 0", "Allocated Blocks: 0",
                    "Additional estimated overhead, because of checks: 0"}));
}

}  // namespace
}  // namespace ombrixhal::test
