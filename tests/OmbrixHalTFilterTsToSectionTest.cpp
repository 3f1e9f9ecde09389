// Tests of the section filter on a fake TS parent: assembly across packets, pointer fields and
// stuffing, CRC and match/mask, and the statistics.
#include "OmbrixHalFakeFilter.h"
#include "OmbrixHalStreamBuilder.h"
#include "OmbrixHalTestFixture.h"

namespace ombrixhal::test {
namespace {

OmbrixHalFilterParameter parameterWith(uint32_t crcCheck, uint32_t filterLen = 0) {
  OmbrixHalFilterParameter parameter{};
  parameter.crcCheck = crcCheck;
  parameter.filterLen = filterLen;
  return parameter;
}

class SectionFilterTest : public StageTest<HalTest> {
 protected:
  void SetUp() override {
    HalTest::SetUp();
    makeStage(OmbrixHalFilterTsToSectionCreate, OMBRIX_HAL_FILTER_TYPE_TS);
  }
  // Running again with `parameter`, the deliveries and the statistics cleared.
  void restartWith(OmbrixHalFilterParameter parameter) {
    ASSERT_TRUE(OmbrixHalFilterStop(filter));
    ASSERT_TRUE(OmbrixHalFilterTsToSectionInfoReset(filter));
    deliveries.calls.clear();
    ASSERT_TRUE(OmbrixHalFilterSetParameter(filter, &parameter));
    ASSERT_TRUE(OmbrixHalFilterStart(filter));
  }
  OmbrixHalFilterInfo info() {
    OmbrixHalFilterInfo result{};
    EXPECT_TRUE(OmbrixHalFilterTsToSectionGetInfo(filter, &result));
    return result;
  }
};

using SectionAssembly = SectionFilterTest;

TEST_F(SectionAssembly, DeliversEveryWholeSectionThePacketsCarryAndCountsIt) {
  const Bytes split = section(0x42, 400, 5);
  const Bytes largest = section(0x50, 0xFFF - 4, 1);  // fills the 4098-byte buffer
  const Bytes first = section(0x00, 9, 1);
  const Bytes second = section(0x02, 20, 2);
  const Bytes running = tsPacketsOf(section(0x42, 300, 3), true)[0];
  const Bytes falseStart{0x42, 0x00, 0x10, 0xAA};
  Bytes noPayload = tsPacketWith(concat({{0x00}, first}), true);
  noPayload[3] = 0x20;
  Bytes otherLength = tsPacketWith(concat({{0x00}, first}), true);
  otherLength.resize(204, 0xFF);
  const struct {
    const char* name;
    std::vector<Bytes> packets;
    std::vector<Bytes> sections;
  } cases[] = {
      {"other lengths than 188", {Bytes(otherLength.begin(), otherLength.end() - 17), otherLength}, {}},
      {"split over three packets", tsPacketsOf(split, true), {split}},
      {"largest", tsPacketsOf(largest, true), {largest}},
      {"two in one packet, then stuffing", {tsPacketWith(concat({{0x00}, first, second}), true)}, {first, second}},
      // The new-section position cuts off a running section, and a false start read from the
      // bytes before it.
      {"pointer field cuts off",
       {running, tsPacketWith(concat({{0x0A}, Bytes(10, 0x11), second}), true),
        tsPacketWith(concat({{0x04}, falseStart, second}), true)},
       {second, second}},
      {"section_length 0",
       {tsPacketWith(concat({{0x00, 0x00, 0xB0, 0x00}, Bytes(180, 0x12)}), true), tsPacketWith(Bytes(184, 0x34), false),
        tsPacketWith(concat({{0x00}, first}), true)},
       {first}},
      {"no payload, or an adaptation field that fills the packet",
       {noPayload, tsPacketWith({}, true, 183), tsPacketWith(concat({{0x00}, first}), true, 20)},
       {first}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    restartWith(parameterWith(1));
    deliver(c.packets);
    EXPECT_EQ(deliveries.data(), c.sections);
    EXPECT_EQ(deliveries.from(), std::vector(c.sections.size(), filter));
    EXPECT_EQ(info().sectionsReceived, c.sections.size());
  }
}

TEST_F(SectionAssembly, StartDropsThePartialSectionThatStopKept) {
  const std::vector<Bytes> packets = tsPacketsOf(section(0x42, 300), true);
  parent->deliver(packets[0]);
  OmbrixHalFilterTsToSectionStop(filter);
  OmbrixHalFilterTsToSectionStart(filter);
  parent->deliver(packets[1]);
  EXPECT_TRUE(deliveries.calls.empty());
}

TEST_F(SectionAssembly, HandlerMayDestroyItsFilterDuringDelivery) {
  static int calls;
  calls = 0;
  const int destroyed = FakeParentFilter::destroyed;
  ASSERT_TRUE(OmbrixHalFilterSetHandler(
      filter, [](OmbrixHalFilterHandle aFilter, const uint8_t*, uint32_t, void*) {
        ++calls;
        OmbrixHalFilterTsToSectionDestroy(aFilter);
      },
      nullptr));
  parent->deliver(tsPacketWith(concat({{0x00}, section(0x00, 9), section(0x02, 9)}), true));
  filter = nullptr;
  EXPECT_EQ(calls, 1);
  EXPECT_EQ(FakeParentFilter::destroyed, destroyed + 1);
}

using SectionChecks = SectionFilterTest;

TEST_F(SectionChecks, CrcFailureIsCountedAndDeliveredOnlyWithoutTheCheck) {
  const struct {
    uint32_t crcCheck;
    bool flip;
    size_t delivered;
    uint32_t crcErrors;
  } cases[] = {{1, false, 1, 0}, {1, true, 0, 1}, {0, true, 1, 0}};
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << "crcCheck " << c.crcCheck << " flip " << c.flip);
    restartWith(parameterWith(c.crcCheck));
    Bytes bytes = section(0x02, 60);
    bytes[30] ^= c.flip ? 0x04 : 0x00;
    deliver(tsPacketsOf(bytes, true));
    EXPECT_EQ(deliveries.calls.size(), c.delivered);
    const OmbrixHalFilterInfo statistics = info();
    EXPECT_EQ(statistics.sectionsReceived, 1u);
    EXPECT_EQ(statistics.crcErrors, c.crcErrors);
  }
  OmbrixHalFilterTsToSectionInfoReset(filter);
  const OmbrixHalFilterInfo reset = info();
  EXPECT_EQ((std::vector<uint32_t>{reset.infoWord, reset.sectionsReceived, reset.crcErrors}),
            (std::vector<uint32_t>{1, 0, 0}));
  OmbrixHalFilterInfo statistics{};
  EXPECT_EQ(OmbrixHalFilterTsToSectionGetInfo(nullptr, &statistics) + OmbrixHalFilterTsToSectionInfoReset(nullptr), 0);
}

// The section starts 0x4E 0xB0 0x11 (table_id, then the length bytes); the short one is 7 bytes
// long, the bytes beyond its end in the buffer those of the section before.
TEST_F(SectionChecks, MatchAndMaskCompareTheFirstBytesIncludingTheLengthBytes) {
  const struct {
    uint32_t filterLen;
    Bytes match;
    Bytes mask;
    bool delivered;
    size_t bodyLength = 13;
  } cases[] = {
      {0, {0x00}, {0xFF}, true},
      {1, {0x4E}, {0xFF}, true},
      {1, {0x4F}, {0xFF}, false},
      {1, {0x4F}, {0xFE}, true},
      {3, {0x4E, 0xB0, 0x11}, {0xFF, 0xFF, 0xFF}, true},
      {3, {0x4E, 0xB0, 0x12}, {0xFF, 0xFF, 0xFF}, false},
      {3, {0x00, 0x00, 0x12}, {0x00, 0x00, 0xFC}, true},
      {20, {0x4E}, {0xFF}, true},
      {10, {0x4E, 0xB0, 0x04, 0, 0, 0, 0, 0xAA, 0xAA, 0xAA}, {0xFF, 0xFF, 0xFF, 0, 0, 0, 0, 0xFF, 0xFF, 0xFF}, true, 0},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << "filterLen " << c.filterLen << " match " << int{c.match.back()});
    OmbrixHalFilterParameter parameter = parameterWith(0, c.filterLen);
    std::copy(c.match.begin(), c.match.end(), parameter.match);
    std::copy(c.mask.begin(), c.mask.end(), parameter.mask);
    restartWith(parameter);
    deliver(tsPacketsOf(section(0x4E, c.bodyLength), true));
    EXPECT_EQ(deliveries.calls.size(), c.delivered ? 1u : 0u);
  }
}

}  // namespace
}  // namespace ombrixhal::test
