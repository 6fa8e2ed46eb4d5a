#include "source_channel/CRkClipSampleCache.h"

#include "tests/source_channel/SourceChannelTest.h"
#include "tests/support/RkSamples.h"

namespace {

class SampleCacheTest : public testing::Test {
 protected:
  static CRkRef<CRkClipSampleCache> MakeCache(UINT capacity) {
    return CRkRef<CRkClipSampleCache>::Adopt(new CRkClipSampleCache(capacity));
  }

  // With a signalled abort event a put into a full cache gives up at once.
  BOOL TryPut(UINT position) {
    const auto sample = Made<IRkAVPlaySample>(RkCreateAVPlaySample);
    sample->SetPosition(position);
    return cache->PutSample(sample.Get(), 0, aborted);
  }
  // The position of what is there at once, if anything is.
  UINT TryTake() {
    CRkRef<IRkAVPlaySample> sample;
    LONG tag = 0;
    return cache->GetSample(0, sample.Out(), &tag) ? sample->GetPosition() : kRkNoPosition;
  }

  const CRkHandle aborted{CreateEventW(nullptr, TRUE, TRUE, nullptr)};
  CRkRef<CRkClipSampleCache> cache = MakeCache(3);
};

// What is refused leaves the cache as it is.
TEST_F(SampleCacheTest, has_room_for_exactly_its_capacity_after_a_flush) {
  for (UINT held = 0; held <= 3; ++held) {
    for (UINT i = 0; i < held; ++i) EXPECT_TRUE(TryPut(i));
    EXPECT_TRUE(cache->Flush());
    EXPECT_EQ(TryTake(), kRkNoPosition);
    for (UINT i = 0; i < 4; ++i) EXPECT_EQ(TryPut(i), i < 3);
    for (UINT i = 0; i < 3; ++i) EXPECT_EQ(TryTake(), i);
    EXPECT_EQ(TryTake(), kRkNoPosition);
  }
}

TEST_F(SampleCacheTest, keeps_its_order_while_it_grows) {
  cache = MakeCache(300);
  UINT taken = 0;
  for (UINT put = 0; put < 300; ++put) {
    EXPECT_TRUE(TryPut(put));
    if (put % 3 != 0) continue;
    EXPECT_EQ(TryTake(), taken++);
  }
  while (taken < 300) EXPECT_EQ(TryTake(), taken++);
}

TEST_F(SampleCacheTest, a_wait_for_room_ends_with_the_places_a_hurry_or_an_abort) {
  const CRkHandle abort = CRkHandle::ManualResetEvent();
  for (UINT i = 0; i < 3; ++i) EXPECT_TRUE(TryPut(i));
  const auto blockedWait = [&](const std::function<void()>& ending) {
    CBlockedCall wait([&] { cache->WaitForRoom(2, abort); });
    ending();
  };
  blockedWait([&] { cache->HurryRefill(); });
  cache->HurryRefill();
  cache->WaitForRoom(2, nullptr);
  blockedWait([&] { SetEvent(abort); });
  ResetEvent(abort);
  CBlockedCall wait([&] { cache->WaitForRoom(2, abort); });
  EXPECT_EQ(TryTake(), 0u);
  EXPECT_FALSE(wait.IsDone());
  EXPECT_EQ(TryTake(), 1u);
}

TEST_F(SampleCacheTest, only_a_put_during_the_wait_reaches_the_count) {
  EXPECT_TRUE(TryPut(0));
  EXPECT_TRUE(TryPut(1));
  EXPECT_FALSE(cache->WaitForCount(1, 2));
  const auto waitingFor = [&](LONG count, BOOL expected, DWORD timeoutMs,
                              const std::function<void()>& meanwhile) {
    CBlockedCall wait(
        [&, count, expected, timeoutMs] { EXPECT_EQ(cache->WaitForCount(timeoutMs, count), expected); });
    meanwhile();
  };
  waitingFor(3, TRUE, kTestDeadlineMs, [&] { EXPECT_TRUE(TryPut(2)); });
  EXPECT_FALSE(cache->WaitForCount(1, 3)) << "an earlier success must not end a later wait";
  EXPECT_EQ(TryTake(), 0u);
  waitingFor(4, FALSE, 300, [&] { EXPECT_TRUE(TryPut(3)); });
  waitingFor(1, FALSE, 300, [&] {
    cache->Flush();  // forgets the count
    EXPECT_TRUE(TryPut(4));
  });
}

}  // namespace
