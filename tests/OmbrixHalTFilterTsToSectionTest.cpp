// Tests of the section filter on a fake TS parent: assembly across packets, pointer fields and
// stuffing, CRC and match/mask, statistics, and the stage's life with its parent.
#include "OmbrixHalFakeFilter.h"
#include "OmbrixHalSectionBuilder.h"
#include "OmbrixHalTestFixture.h"

namespace ombrixhal::test {
namespace {

OmbrixHalFilterParameter parameterWith(uint32_t crcCheck, uint32_t filterLen = 0) {
  OmbrixHalFilterParameter parameter{};
  parameter.crcCheck = crcCheck;
  parameter.filterLen = filterLen;
  return parameter;
}

class SectionFilterTest : public HalTest {
 protected:
  void SetUp() override {
    HalTest::SetUp();
    FakeParentFilter::destroyed = 0;
    parent = createFakeParent();
    filter = OmbrixHalFilterTsToSectionCreate(&parent->head);
    ASSERT_NE(filter, nullptr);
  }
  void TearDown() override {
    OmbrixHalFilterTsToSectionDestroy(filter);
    // An unhooked filter leaves its parent to the test.
    if (FakeParentFilter::destroyed == 0) {
      delete parent;
    }
    HalTest::TearDown();
  }

  // Hooked, with `parameter` set, and running.
  void start(OmbrixHalFilterParameter parameter = {}) {
    ASSERT_TRUE(OmbrixHalFilterTsToSectionSetFilterHandler(filter, record, this));
    ASSERT_TRUE(OmbrixHalFilterTsToSectionSetParameter(filter, &parameter));
    ASSERT_TRUE(OmbrixHalFilterTsToSectionStart(filter));
  }
  void deliverAll(const std::vector<Bytes>& packets) {
    for (const Bytes& packet : packets) {
      parent->deliver(packet);
    }
  }
  OmbrixHalFilterInfo info() {
    OmbrixHalFilterInfo result{};
    EXPECT_TRUE(OmbrixHalFilterTsToSectionGetInfo(filter, &result));
    return result;
  }

  static void record(OmbrixHalFilterHandle aFilter, const uint8_t* aData, uint32_t aLength, void* aContext) {
    auto& test = *static_cast<SectionFilterTest*>(aContext);
    EXPECT_EQ(aFilter, test.filter);
    test.sections.emplace_back(aData, aData + aLength);
    if (test.destroyOnDelivery) {
      OmbrixHalFilterTsToSectionDestroy(aFilter);
      test.filter = nullptr;
    }
  }

  FakeParentFilter* parent = nullptr;
  OmbrixHalFilterHandle filter = nullptr;
  std::vector<Bytes> sections;
  bool destroyOnDelivery = false;
};

using SectionAssembly = SectionFilterTest;

TEST_F(SectionAssembly, PacketsOfAnyOtherLengthThan188AreIgnored) {
  start();
  const Bytes packet = sectionPacket(true, concat({{0x00}, section(0x00, 9)}));
  for (size_t length : {187, 204}) {
    Bytes resized = packet;
    resized.resize(length, 0xFF);
    parent->deliver(resized);
  }
  EXPECT_TRUE(sections.empty());
  EXPECT_EQ(info().sectionsReceived, 0u);
}

TEST_F(SectionAssembly, SectionSplitOverThreePacketsIsDeliveredOnceWhole) {
  start();
  const Bytes expected = section(0x42, 400, 5);
  const std::vector<Bytes> packets = sectionPackets(expected);
  ASSERT_EQ(packets.size(), 3u);
  deliverAll(packets);
  EXPECT_EQ(sections, std::vector<Bytes>{expected});
}

TEST_F(SectionAssembly, LargestSectionFillsTheBufferAndIsDelivered) {
  start(parameterWith(1));
  const Bytes expected = section(0x50, 0xFFF - 4, 1);
  ASSERT_EQ(expected.size(), 4098u);
  deliverAll(sectionPackets(expected));
  EXPECT_EQ(sections, std::vector<Bytes>{expected});
}

TEST_F(SectionAssembly, TwoSectionsInOnePacketAreBothDeliveredAndStuffingSkipped) {
  start();
  const Bytes first = section(0x00, 9, 1);
  const Bytes second = section(0x02, 20, 2);
  parent->deliver(sectionPacket(true, concat({{0x00}, first, second})));
  EXPECT_EQ(sections, (std::vector<Bytes>{first, second}));
}

// Pointer fields that cut off what came before: a running section, and a false start read from
// the bytes before the new-section position.
TEST_F(SectionAssembly, NewSectionPositionCutsOffWhatIsBeingAssembled) {
  start();
  const Bytes cut = section(0x42, 300, 3);
  const Bytes next = section(0x46, 30, 4);
  parent->deliver(sectionPackets(cut)[0]);
  parent->deliver(sectionPacket(true, concat({{0x0A}, Bytes(10, 0x11), next})));
  const Bytes falseStart{0x42, 0x00, 0x10, 0xAA};
  parent->deliver(sectionPacket(true, concat({{0x04}, falseStart, next})));
  EXPECT_EQ(sections, (std::vector<Bytes>{next, next}));
  EXPECT_EQ(info().sectionsReceived, 2u);
}

TEST_F(SectionAssembly, SectionLengthZeroIsNeverDelivered) {
  start();
  parent->deliver(sectionPacket(true, concat({{0x00, 0x00, 0xB0, 0x00}, Bytes(180, 0x12)})));
  parent->deliver(sectionPacket(false, Bytes(184, 0x34)));
  const Bytes next = section(0x00, 9);
  parent->deliver(sectionPacket(true, concat({{0x00}, next})));
  EXPECT_EQ(sections, std::vector<Bytes>{next});
  EXPECT_EQ(info().sectionsReceived, 1u);
}

TEST_F(SectionAssembly, PayloadStartsBehindTheAdaptationFieldAndPacketsWithoutPayloadAreIgnored) {
  start();
  const Bytes expected = section(0x00, 9);
  Bytes noPayload = sectionPacket(true, concat({{0x00}, expected}));
  noPayload[3] = 0x20;
  parent->deliver(noPayload);
  Bytes filledByAdaptation = sectionPacket(true, {}, 182);
  std::copy(expected.begin(), expected.end(), filledByAdaptation.end() - 4);
  parent->deliver(filledByAdaptation);
  EXPECT_TRUE(sections.empty());
  parent->deliver(sectionPacket(true, concat({{0x00}, expected}), 20));
  EXPECT_EQ(sections, std::vector<Bytes>{expected});
}

TEST_F(SectionAssembly, StartDropsThePartialSectionThatStopKept) {
  start();
  const std::vector<Bytes> packets = sectionPackets(section(0x42, 300));
  parent->deliver(packets[0]);
  OmbrixHalFilterTsToSectionStop(filter);
  OmbrixHalFilterTsToSectionStart(filter);
  parent->deliver(packets[1]);
  EXPECT_TRUE(sections.empty());
}

TEST_F(SectionAssembly, HandlerMayDestroyItsFilterDuringDelivery) {
  start();
  destroyOnDelivery = true;
  parent->deliver(sectionPacket(true, concat({{0x00}, section(0x00, 9), section(0x02, 9)})));
  EXPECT_EQ(sections.size(), 1u);
  EXPECT_EQ(FakeParentFilter::destroyed, 1);
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
    OmbrixHalFilterTsToSectionStop(filter);
    OmbrixHalFilterTsToSectionInfoReset(filter);
    sections.clear();
    start(parameterWith(c.crcCheck));
    Bytes bytes = section(0x02, 60);
    bytes[30] ^= c.flip ? 0x04 : 0x00;
    deliverAll(sectionPackets(bytes));
    EXPECT_EQ(sections.size(), c.delivered);
    const OmbrixHalFilterInfo statistics = info();
    EXPECT_EQ(statistics.sectionsReceived, 1u);
    EXPECT_EQ(statistics.crcErrors, c.crcErrors);
  }
  OmbrixHalFilterTsToSectionInfoReset(filter);
  const OmbrixHalFilterInfo reset = info();
  EXPECT_EQ((std::vector<uint32_t>{reset.infoWord, reset.sectionsReceived, reset.crcErrors}),
            (std::vector<uint32_t>{1, 0, 0}));
}

// The section starts 0x4E 0xB0 0x11 (table_id, then the length bytes).
TEST_F(SectionChecks, MatchAndMaskCompareTheFirstBytesIncludingTheLengthBytes) {
  const struct {
    uint32_t filterLen;
    Bytes match;
    Bytes mask;
    bool delivered;
  } cases[] = {
      {0, {0x00}, {0xFF}, true},
      {1, {0x4E}, {0xFF}, true},
      {1, {0x4F}, {0xFF}, false},
      {1, {0x4F}, {0xFE}, true},
      {3, {0x4E, 0xB0, 0x11}, {0xFF, 0xFF, 0xFF}, true},
      {3, {0x4E, 0xB0, 0x12}, {0xFF, 0xFF, 0xFF}, false},
      {3, {0x00, 0x00, 0x12}, {0x00, 0x00, 0xFC}, true},
      {20, {0x4E}, {0xFF}, true},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << "filterLen " << c.filterLen << " match " << int{c.match.back()});
    OmbrixHalFilterTsToSectionStop(filter);
    sections.clear();
    OmbrixHalFilterParameter parameter = parameterWith(0, c.filterLen);
    std::copy(c.match.begin(), c.match.end(), parameter.match);
    std::copy(c.mask.begin(), c.mask.end(), parameter.mask);
    start(parameter);
    deliverAll(sectionPackets(section(0x4E, 13)));
    EXPECT_EQ(sections.size(), c.delivered ? 1u : 0u);
  }
}

using SectionFilterLife = SectionFilterTest;

TEST_F(SectionFilterLife, StartNeedsParameterAndHandler) {
  const OmbrixHalFilterParameter parameter{};
  EXPECT_FALSE(OmbrixHalFilterTsToSectionStart(filter));
  OmbrixHalFilterTsToSectionSetParameter(filter, &parameter);
  EXPECT_FALSE(OmbrixHalFilterTsToSectionStart(filter));
  EXPECT_EQ(parent->startCalls, 0);
  EXPECT_FALSE(OmbrixHalFilterTsToSectionSetFilterHandler(filter, nullptr, nullptr));
  parent->refuseStart = true;
  ASSERT_TRUE(OmbrixHalFilterTsToSectionSetFilterHandler(filter, record, this));
  EXPECT_FALSE(OmbrixHalFilterTsToSectionStart(filter));
  EXPECT_FALSE(OmbrixHalFilterTsToSectionIsEnabled(filter));
  parent->refuseStart = false;
  EXPECT_TRUE(OmbrixHalFilterTsToSectionStart(filter));
  EXPECT_TRUE(OmbrixHalFilterTsToSectionIsEnabled(filter));
}

TEST_F(SectionFilterLife, DestroyClosesTheParentOnlyOnceHooked) {
  OmbrixHalFilterTsToSectionDestroy(filter);
  EXPECT_EQ(FakeParentFilter::destroyed, 0);
  filter = OmbrixHalFilterTsToSectionCreate(&parent->head);
  ASSERT_TRUE(OmbrixHalFilterTsToSectionSetFilterHandler(filter, record, this));
  OmbrixHalFilterTsToSectionDestroy(filter);
  filter = nullptr;
  EXPECT_EQ(FakeParentFilter::destroyed, 1);
}

TEST_F(SectionFilterLife, EveryOperationToleratesNullThis) {
  OmbrixHalFilterParameter parameter{};
  OmbrixHalFilterInfo statistics{};
  EXPECT_EQ(OmbrixHalFilterTsToSectionCreate(nullptr), nullptr);
  EXPECT_FALSE(OmbrixHalFilterTsToSectionDestroy(nullptr));
  EXPECT_FALSE(OmbrixHalFilterTsToSectionSetFilterHandler(nullptr, record, this));
  EXPECT_FALSE(OmbrixHalFilterTsToSectionSetParameter(nullptr, &parameter));
  EXPECT_FALSE(OmbrixHalFilterTsToSectionGetParameter(nullptr, &parameter));
  EXPECT_FALSE(OmbrixHalFilterTsToSectionStart(nullptr));
  EXPECT_FALSE(OmbrixHalFilterTsToSectionStop(nullptr));
  EXPECT_FALSE(OmbrixHalFilterTsToSectionIsEnabled(nullptr));
  EXPECT_FALSE(OmbrixHalFilterTsToSectionGetInfo(nullptr, &statistics));
  EXPECT_FALSE(OmbrixHalFilterTsToSectionInfoReset(nullptr));
  OmbrixHalFilterTsToSectionReset(nullptr);
  OmbrixHalFilterTsToSectionInputHandler(nullptr, sectionPacket(true, {}).data(), kTsPacketSize, nullptr);
}

}  // namespace
}  // namespace ombrixhal::test
