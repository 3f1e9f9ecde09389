// Tests of the memory module: plain forwarding, the block records and list of the checking
// mode, the statistics, the leak report at shutdown and the gaps of the platform table.
#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "OmbrixHalTestFixture.h"

namespace ombrixhal::test {
namespace {

using MemoryTable = OmbrixHalMemoryPlatformInterface;
using MemoryTablePatch = void (*)(MemoryTable&);

struct PlatformAllocation {
  uint32_t size;
  std::string file;
  uint32_t line;
  void* memory;
};

// What the memory platform saw. The platform memory that is still live when a test ends is
// released by the fixture, so blocks the module keeps at shutdown do not leak for real.
struct AllocatorRecord {
  std::vector<PlatformAllocation> allocations;
  std::vector<void*> frees;
  std::vector<void*> live;
  bool failAllocations = false;
};

std::mutex recordMutex;
AllocatorRecord recorded;
MemoryTablePatch memoryTablePatch = nullptr;

// Larger requests are refused, so that a size that wrapped round in the module shows up as a
// small request that succeeds.
constexpr uint32_t kLargestPlatformBlock = 1u << 20;

void* recordingAllocate(uint32_t aSize, const char* aFile, uint32_t aLine) noexcept {
  std::lock_guard lock(recordMutex);
  void* memory = recorded.failAllocations || aSize > kLargestPlatformBlock ? nullptr : std::malloc(aSize);
  recorded.allocations.push_back({aSize, aFile != nullptr ? aFile : "NULL", aLine, memory});
  if (memory != nullptr) {
    recorded.live.push_back(memory);
  }
  return memory;
}

void recordingFree(void* aMemoryPtr) noexcept {
  std::lock_guard lock(recordMutex);
  recorded.frees.push_back(aMemoryPtr);
  // A pointer this allocator never handed out is only recorded, for the test to find.
  const auto liveBlock = std::find(recorded.live.begin(), recorded.live.end(), aMemoryPtr);
  if (liveBlock != recorded.live.end()) {
    recorded.live.erase(liveBlock);
    std::free(aMemoryPtr);
  }
}

OmbrixHalBool recordingMemoryTable(MemoryTable* aInterface) noexcept {
  OmbrixHalMemoryPlatformGetInterface(aInterface);
  aInterface->Allocate = recordingAllocate;
  aInterface->Free = recordingFree;
  if (memoryTablePatch != nullptr) {
    memoryTablePatch(*aInterface);
  }
  return 1;
}

void withoutAllocate(MemoryTable& table) {
  table.Allocate = nullptr;
}

void withoutFree(MemoryTable& table) {
  table.Free = nullptr;
}

// The library runs on the recording platform allocator, in checking mode unless a test
// restarts it.
class RecordedMemoryTest : public HalTest {
 protected:
  RecordedMemoryTest() {
    recorded = {};
    memoryTablePatch = nullptr;
  }

  void TearDown() override {
    HalTest::TearDown();
    for (void* memory : recorded.live) {
      std::free(memory);
    }
    recorded = {};
  }

  void restartWith(uint32_t memoryCheck, MemoryTablePatch patch) {
    memoryTablePatch = patch;
    restart(memoryCheck);
    recorded.allocations.clear();
    recorded.frees.clear();
  }

 private:
  ScopedPlatformInterface<MemoryTable> table_{seam::memoryPlatformGetInterface, recordingMemoryTable};
};

LogLine status(std::string text) {
  return info("OmbrixHalMemoryPrintStatus", std::move(text));
}

LogLine leak(std::string text) {
  return error("OmbrixHalMemoryPrintStatus", std::move(text));
}

std::vector<LogLine> zeroStatistics() {
  return {status("Maximal allocated Memory: 0"), status("Currently allocated Memory: 0"),
          status("Allocated Blocks: 0"), status("Additional estimated overhead, because of checks: 0")};
}

using MemoryPlainMode = RecordedMemoryTest;

TEST_F(MemoryPlainMode, ForwardsAllocateAndFreeToThePlatform) {
  restartWith(0, nullptr);
  void* block = OmbrixHalMemoryAllocate_(24, "plain.c", 7);
  ASSERT_NE(block, nullptr);
  ASSERT_EQ(recorded.allocations.size(), 1u);
  EXPECT_EQ(recorded.allocations[0].size, 24u);
  EXPECT_EQ(recorded.allocations[0].file, "plain.c");
  EXPECT_EQ(recorded.allocations[0].line, 7u);
  EXPECT_EQ(recorded.allocations[0].memory, block) << "no record in front of the caller's memory";

  OmbrixHalMemoryFree_(block, "plain.c", 8);
  EXPECT_EQ(recorded.frees, std::vector<void*>{block});
  EXPECT_TRUE(log.lines().empty());
}

TEST_F(MemoryPlainMode, KeepsNoStatisticsAndReportsNothingAtDone) {
  restartWith(0, nullptr);
  void* block = OmbrixHalMemoryAllocate_(24, "plain.c", 7);
  ASSERT_NE(block, nullptr);
  OmbrixHalMemoryPrintStatistics();
  EXPECT_TRUE(log.lines().empty());

  ASSERT_EQ(OmbrixHalDone(), 1);
  EXPECT_TRUE(log.lines().empty()) << "a live block in plain mode is no leak report";
  EXPECT_TRUE(recorded.frees.empty());
  restartWith(1, nullptr);  // the fixture releases the block
}

using MemoryChecking = RecordedMemoryTest;

TEST_F(MemoryChecking, RecordSitsDirectlyBeforeTheCallersMemory) {
  auto* block = static_cast<unsigned char*>(OmbrixHalMemoryAllocate_(100, "record.c", 5));
  ASSERT_NE(block, nullptr);
  ASSERT_EQ(recorded.allocations.size(), 1u);
  const PlatformAllocation& platformBlock = recorded.allocations[0];
  const auto* record = static_cast<unsigned char*>(platformBlock.memory);
  const std::ptrdiff_t recordSize = block - record;

  ASSERT_GE(recordSize, 76);
  if (sizeof(void*) == 4) {
    EXPECT_EQ(recordSize, 76);
  } else {
    EXPECT_EQ(reinterpret_cast<uintptr_t>(block) % alignof(std::max_align_t), 0u)
        << "the caller's memory keeps the allocator's alignment";
  }
  EXPECT_EQ(platformBlock.size, 100u + static_cast<uint32_t>(recordSize));
  EXPECT_EQ(platformBlock.file, "record.c");
  EXPECT_EQ(platformBlock.line, 5u);

  std::memset(block, 0xa5, 100);  // the whole requested size is the caller's
  OmbrixHalMemoryFree_(block, "record.c", 6);
  EXPECT_EQ(recorded.frees, std::vector<void*>{platformBlock.memory}) << "the platform gets its own pointer back";
  EXPECT_TRUE(log.lines().empty());
}

TEST_F(MemoryChecking, LongFileNamesKeepTheirLastSixtyCharacters) {
  struct FileNameCase {
    size_t length;
    const char* file;
    const char* listedAs;
  };
  const FileNameCase cases[] = {
      {63, "middleware/source/tuner/parameters/TunerParameterTextParser.cpp",
       "middleware/source/tuner/parameters/TunerParameterTextParser.cpp"},
      {64, "middleware/source/tuners/parameters/TunerParameterTextParser.cpp",
       "...leware/source/tuners/parameters/TunerParameterTextParser.cpp"},
      {70, "/home/builder/middleware/source/filters/sections/SectionsAssembler.cpp",
       "...der/middleware/source/filters/sections/SectionsAssembler.cpp"},
  };
  for (const FileNameCase& testCase : cases) {
    SCOPED_TRACE(testCase.length);
    ASSERT_EQ(std::strlen(testCase.file), testCase.length);
    void* block = OmbrixHalMemoryAllocate_(8, testCase.file, 42);
    ASSERT_NE(block, nullptr);
    log.clear();
    OmbrixHalMemoryPrintStatistics();
    const std::vector<LogLine> lines = log.lines();
    ASSERT_EQ(lines.size(), 5u);
    EXPECT_EQ(lines[0], status(std::string("Allocated block: ") + testCase.listedAs + "(Line 42) 8 bytes"));
    OmbrixHalMemoryFree(block);
  }
}

TEST_F(MemoryChecking, FreeingTwiceIsRefusedAndLeavesTheListAlone) {
  void* first = OmbrixHalMemoryAllocate_(10, "first.c", 1);
  void* second = OmbrixHalMemoryAllocate_(20, "second.c", 2);
  ASSERT_NE(first, nullptr);
  ASSERT_NE(second, nullptr);
  OmbrixHalMemoryFree_(first, "owner.c", 30);
  ASSERT_EQ(recorded.frees.size(), 1u);
  EXPECT_TRUE(log.lines().empty());

  OmbrixHalMemoryFree_(first, "stale.c", 99);
  EXPECT_EQ(log.lines(),
            (std::vector{error("OmbrixHalMemoryFree", "Cannot free memory block. Freed twice? Freed: stale.c(Line 99)")}));
  EXPECT_EQ(recorded.frees.size(), 1u) << "nothing reaches the platform";

  log.clear();
  OmbrixHalMemoryPrintStatistics();
  EXPECT_EQ(log.lines(), (std::vector{status("Allocated block: second.c(Line 2) 20 bytes"),
                                      status("Maximal allocated Memory: 30"), status("Currently allocated Memory: 20"),
                                      status("Allocated Blocks: 1"),
                                      status("Additional estimated overhead, because of checks: 76")}));
  OmbrixHalMemoryFree(second);
}

TEST_F(MemoryChecking, PointerInsideALiveBlockIsRefused) {
  auto* block = static_cast<unsigned char*>(OmbrixHalMemoryAllocate_(16, "inside.c", 3));
  ASSERT_NE(block, nullptr);
  OmbrixHalMemoryFree_(block + 4, "inside.c", 4);
  EXPECT_EQ(log.lines(),
            (std::vector{error("OmbrixHalMemoryFree", "Cannot free memory block. Freed twice? Freed: inside.c(Line 4)")}));
  EXPECT_TRUE(recorded.frees.empty());
  OmbrixHalMemoryFree(block);
}

TEST_F(MemoryChecking, FreeingNullIsRefusedBeforeAnythingElse) {
  struct NullCase {
    const char* name;
    uint32_t memoryCheck;
    MemoryTablePatch patch;
  };
  const NullCase cases[] = {
      {"checking", 1, nullptr},
      {"plain", 0, nullptr},
      {"checking without platform free", 1, withoutFree},
  };
  for (const NullCase& testCase : cases) {
    SCOPED_TRACE(testCase.name);
    restartWith(testCase.memoryCheck, testCase.patch);
    OmbrixHalMemoryFree_(nullptr, "null.c", 1);
    EXPECT_EQ(log.lines(), (std::vector{error("OmbrixHalMemoryFree", "Illegal parameter 'NULL' for 'aMemoryPtr'")}));
    EXPECT_TRUE(recorded.frees.empty());
  }
}

TEST_F(MemoryChecking, FailingPlatformAllocationReturnsNullSilentlyAndListsNothing) {
  recorded.failAllocations = true;
  EXPECT_EQ(OmbrixHalMemoryAllocate_(16, "fail.c", 1), nullptr);
  EXPECT_EQ(recorded.allocations.size(), 1u);
  EXPECT_TRUE(log.lines().empty());
  OmbrixHalMemoryPrintStatistics();
  EXPECT_EQ(log.lines(), zeroStatistics());
}

TEST_F(MemoryChecking, SizeThatOverflowsWithTheRecordIsRefused) {
  EXPECT_EQ(OmbrixHalMemoryAllocate_(UINT32_MAX, "huge.c", 1), nullptr);
  EXPECT_EQ(OmbrixHalMemoryAllocate_(UINT32_MAX - 40, "huge.c", 2), nullptr);
  EXPECT_TRUE(recorded.live.empty());
  OmbrixHalMemoryPrintStatistics();
  EXPECT_EQ(log.lines(), zeroStatistics());
}

using MemoryStatistics = RecordedMemoryTest;

TEST_F(MemoryStatistics, WithoutBlocksPrintsTheFourTotalsAsZero) {
  OmbrixHalMemoryPrintStatistics();
  EXPECT_EQ(log.lines(), zeroStatistics());
}

TEST_F(MemoryStatistics, BlocksAreListedInAllocationOrderWithTheTotals) {
  void* first = OmbrixHalMemoryAllocate_(10, "first.c", 1);
  void* second = OmbrixHalMemoryAllocate_(20, "second.c", 2);
  void* third = OmbrixHalMemoryAllocate_(30, "third.c", 3);
  OmbrixHalMemoryPrintStatistics();
  EXPECT_EQ(log.lines(), (std::vector{status("Allocated block: first.c(Line 1) 10 bytes"),
                                      status("Allocated block: second.c(Line 2) 20 bytes"),
                                      status("Allocated block: third.c(Line 3) 30 bytes"),
                                      status("Maximal allocated Memory: 60"), status("Currently allocated Memory: 60"),
                                      status("Allocated Blocks: 3"),
                                      status("Additional estimated overhead, because of checks: 228")}));
  for (void* block : {first, second, third}) {
    OmbrixHalMemoryFree(block);
  }
}

TEST_F(MemoryStatistics, FreeingABlockUnlinksOnlyThatOneAndNewBlocksGoLast) {
  struct UnlinkCase {
    size_t freed;
    std::vector<std::string> listed;
  };
  const UnlinkCase cases[] = {
      {0, {"Allocated block: second.c(Line 2) 20 bytes", "Allocated block: third.c(Line 3) 30 bytes",
           "Allocated block: fourth.c(Line 4) 40 bytes"}},
      {1, {"Allocated block: first.c(Line 1) 10 bytes", "Allocated block: third.c(Line 3) 30 bytes",
           "Allocated block: fourth.c(Line 4) 40 bytes"}},
      {2, {"Allocated block: first.c(Line 1) 10 bytes", "Allocated block: second.c(Line 2) 20 bytes",
           "Allocated block: fourth.c(Line 4) 40 bytes"}},
  };
  for (const UnlinkCase& testCase : cases) {
    SCOPED_TRACE(testCase.freed);
    std::vector<void*> blocks = {OmbrixHalMemoryAllocate_(10, "first.c", 1),
                                 OmbrixHalMemoryAllocate_(20, "second.c", 2),
                                 OmbrixHalMemoryAllocate_(30, "third.c", 3)};
    OmbrixHalMemoryFree(blocks[testCase.freed]);
    blocks.erase(blocks.begin() + static_cast<std::ptrdiff_t>(testCase.freed));
    blocks.push_back(OmbrixHalMemoryAllocate_(40, "fourth.c", 4));
    log.clear();
    OmbrixHalMemoryPrintStatistics();
    const std::vector<LogLine> lines = log.lines();
    ASSERT_EQ(lines.size(), 7u);
    for (size_t index = 0; index < 3; ++index) {
      EXPECT_EQ(lines[index], status(testCase.listed[index]));
    }
    EXPECT_EQ(lines[5], status("Allocated Blocks: 3"));
    for (void* block : blocks) {
      OmbrixHalMemoryFree(block);
    }
  }
}

TEST_F(MemoryStatistics, MaximalTotalStaysAtTheHighWaterMark) {
  void* large = OmbrixHalMemoryAllocate_(100, "large.c", 1);
  void* small = OmbrixHalMemoryAllocate_(50, "small.c", 2);
  OmbrixHalMemoryFree(large);
  void* later = OmbrixHalMemoryAllocate_(30, "later.c", 3);
  OmbrixHalMemoryPrintStatistics();
  EXPECT_EQ(log.lines(), (std::vector{status("Allocated block: small.c(Line 2) 50 bytes"),
                                      status("Allocated block: later.c(Line 3) 30 bytes"),
                                      status("Maximal allocated Memory: 150"), status("Currently allocated Memory: 80"),
                                      status("Allocated Blocks: 2"),
                                      status("Additional estimated overhead, because of checks: 152")}));
  OmbrixHalMemoryFree(small);
  OmbrixHalMemoryFree(later);
  log.clear();
  OmbrixHalMemoryPrintStatistics();
  EXPECT_EQ(log.lines(), (std::vector{status("Maximal allocated Memory: 150"), status("Currently allocated Memory: 0"),
                                      status("Allocated Blocks: 0"),
                                      status("Additional estimated overhead, because of checks: 0")}));
}

using MemoryShutdown = RecordedMemoryTest;

TEST_F(MemoryShutdown, LeakedBlocksAreReportedAsErrorsAndStayAllocated) {
  OmbrixHalMemoryFree(OmbrixHalMemoryAllocate_(200, "peak.c", 10));
  ASSERT_NE(OmbrixHalMemoryAllocate_(48, "leak.c", 31), nullptr);
  ASSERT_NE(OmbrixHalMemoryAllocate_(16, "leak.c", 32), nullptr);
  recorded.frees.clear();

  ASSERT_EQ(OmbrixHalDone(), 1);
  EXPECT_EQ(log.lines(), (std::vector{leak("Allocated block: leak.c(Line 31) 48 bytes"),
                                      leak("Allocated block: leak.c(Line 32) 16 bytes"),
                                      leak("Maximal allocated Memory: 200"), leak("Currently allocated Memory: 64"),
                                      leak("Allocated Blocks: 2"),
                                      leak("Additional estimated overhead, because of checks: 152")}));
  EXPECT_TRUE(recorded.frees.empty()) << "their owners may still hold them";
  restartWith(1, nullptr);  // the fixture releases both blocks
}

TEST_F(MemoryShutdown, DoneWithoutLeaksPrintsNothing) {
  OmbrixHalMemoryFree(OmbrixHalMemoryAllocate_(32, "tidy.c", 1));
  log.clear();
  ASSERT_EQ(OmbrixHalDone(), 1);
  EXPECT_TRUE(log.lines().empty());
  restartWith(1, nullptr);
}

using MemoryPlatformGaps = RecordedMemoryTest;

TEST_F(MemoryPlatformGaps, AllocateWithoutPlatformSlotReturnsNullAndWarnsWithTheClassText) {
  for (uint32_t memoryCheck : {1u, 0u}) {
    SCOPED_TRACE(memoryCheck);
    restartWith(memoryCheck, withoutAllocate);
    EXPECT_EQ(OmbrixHalMemoryAllocate_(16, "gap.c", 1), nullptr);
    // Kept: the table text of the warning class replaces the module's own text.
    EXPECT_EQ(log.lines(), (std::vector{warning("OmbrixHalMemoryAllocate", "All warnings")}));
  }
}

TEST_F(MemoryPlatformGaps, FreeWithoutPlatformSlotWarnsWithTheClassTextAndKeepsTheBlock) {
  restartWith(1, withoutFree);
  void* block = OmbrixHalMemoryAllocate_(16, "gap.c", 1);
  ASSERT_NE(block, nullptr);
  OmbrixHalMemoryFree_(block, "gap.c", 2);
  EXPECT_EQ(log.lines(), (std::vector{warning("OmbrixHalMemoryFree", "All warnings")}));
  log.clear();
  OmbrixHalMemoryPrintStatistics();
  EXPECT_EQ(log.lines().front(), status("Allocated block: gap.c(Line 1) 16 bytes"));
  expectLeakedBlocks(1);
}

TEST(MemoryPlatform, TableFillsAllocateAndFreeOnly) {
  MemoryTable table{};
  ASSERT_EQ(OmbrixHalMemoryPlatformGetInterface(&table), 1);
  EXPECT_EQ(table.Init, nullptr);
  EXPECT_EQ(table.Done, nullptr);
  ASSERT_NE(table.Allocate, nullptr);
  ASSERT_NE(table.Free, nullptr);
  void* block = table.Allocate(12, "table.c", 1);
  ASSERT_NE(block, nullptr);
  table.Free(block);
}

using MemoryThreads = HalTest;

TEST_F(MemoryThreads, ConcurrentAllocationsKeepTheListAndTotalsConsistent) {
  constexpr int kThreads = 4;
  constexpr int kRounds = 300;
  constexpr size_t kHeldPerThread = 6;
  std::atomic<int> failures{0};
  std::vector<std::thread> threads;
  for (int thread = 0; thread < kThreads; ++thread) {
    threads.emplace_back([&failures, thread] {
      std::vector<unsigned char*> held;
      for (int round = 0; round < kRounds; ++round) {
        const uint32_t size = static_cast<uint32_t>(1 + (round * 7 + thread) % 64);
        auto* block = static_cast<unsigned char*>(OmbrixHalMemoryAllocate_(size, "worker.c", static_cast<uint32_t>(round)));
        if (block == nullptr) {
          ++failures;
          continue;
        }
        std::memset(block, thread, size);
        held.push_back(block);
        if (held.size() == kHeldPerThread) {
          // Free from the middle, so that unlinking inner blocks races with appends.
          const size_t victim = static_cast<size_t>(round) % kHeldPerThread;
          OmbrixHalMemoryFree(held[victim]);
          held.erase(held.begin() + static_cast<std::ptrdiff_t>(victim));
        }
      }
      for (unsigned char* block : held) {
        OmbrixHalMemoryFree(block);
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  EXPECT_EQ(failures.load(), 0);

  OmbrixHalMemoryPrintStatistics();
  const std::vector<LogLine> lines = log.lines();
  ASSERT_EQ(lines.size(), 4u) << ::testing::PrintToString(lines);
  EXPECT_EQ(lines[0].text.rfind("Maximal allocated Memory: ", 0), 0u);
  EXPECT_EQ(lines[1], status("Currently allocated Memory: 0"));
  EXPECT_EQ(lines[2], status("Allocated Blocks: 0"));
  EXPECT_EQ(lines[3], status("Additional estimated overhead, because of checks: 0"));
}

}  // namespace
}  // namespace ombrixhal::test
