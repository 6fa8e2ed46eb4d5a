#include "source_channel/CRkClipSampleCache.h"

#include "tests/source_channel/SourceChannelTest.h"

namespace {

// Takes what is there at once: the sample's position and its tag, or kNone.
using Taken = std::pair<UINT, LONG>;
constexpr Taken kNone = {kRkNoPosition, -7};

class SampleCacheTest : public testing::Test {
 protected:
  static CRkRef<CRkClipSampleCache> MakeCache(UINT capacity) {
    return CRkRef<CRkClipSampleCache>::Adopt(new CRkClipSampleCache(capacity));
  }

  static CRkRef<IRkAVPlaySample> MakeSample(UINT position = 0) {
    CRkRef<IRkAVPlaySample> sample;
    RkCreateAVPlaySample(sample.Out());
    sample->SetPosition(position);
    return sample;
  }

  // With a signalled abort event a put into a full cache gives up at once.
  BOOL TryPut(UINT position, LONG tag = 0) {
    return cache->PutSample(MakeSample(position).Get(), tag, aborted);
  }

  Taken TryTake(UINT timeoutMs = 0) {
    CRkRef<IRkAVPlaySample> sample;
    Taken taken = kNone;
    if (cache->GetSample(timeoutMs, sample.Out(), &taken.second)) taken.first = sample->GetPosition();
    EXPECT_EQ(taken == kNone, !sample);
    return taken;
  }

  void ExpectRoomForThree() {
    for (UINT i = 0; i < 3; ++i) EXPECT_TRUE(TryPut(i));
    EXPECT_FALSE(TryPut(3));
    LONG tag = 0;
    EXPECT_FALSE(cache->GetSample(INFINITE, nullptr, &tag));
    for (UINT i = 0; i < 3; ++i) EXPECT_EQ(TryTake().first, i);
    EXPECT_EQ(TryTake(), kNone);
  }

  const CRkHandle aborted{CreateEventW(nullptr, TRUE, TRUE, nullptr)};
  CRkRef<CRkClipSampleCache> cache = MakeCache(3);
};

TEST_F(SampleCacheTest, works_only_with_a_capacity_that_semaphores_can_count) {
  EXPECT_TRUE(MakeCache(1)->IsValid());
  EXPECT_FALSE(MakeCache(0)->IsValid());
  EXPECT_FALSE(MakeCache(0x80000000u)->IsValid());
  EXPECT_FALSE(MakeCache(0xFFFFFFFFu)->IsValid());
}

TEST_F(SampleCacheTest, holds_one_reference_to_a_queued_sample_and_none_to_another) {
  const auto sample = MakeSample();
  for (int i = 0; i < 3; ++i) cache->PutSample(sample.Get(), i, nullptr);
  EXPECT_FALSE(cache->PutSample(sample.Get(), 3, aborted));
  EXPECT_EQ(References(*sample), 4u);
  EXPECT_EQ(TryTake().second, 0);
  EXPECT_EQ(References(*sample), 3u);
  EXPECT_TRUE(cache->Flush());
  EXPECT_EQ(References(*sample), 1u);
  cache->PutSample(sample.Get(), 0, nullptr);
  cache.Reset();
  EXPECT_EQ(References(*sample), 1u);
}

// Free space wins over the abort, and what is refused leaves the cache as it is.
TEST_F(SampleCacheTest, has_room_for_exactly_its_capacity_after_a_flush) {
  for (UINT held = 0; held <= 3; ++held) {
    for (UINT i = 0; i < held; ++i) EXPECT_TRUE(TryPut(i));
    EXPECT_TRUE(cache->Flush());
    EXPECT_EQ(TryTake(), kNone);
    EXPECT_FALSE(cache->PutSample(nullptr, 0, nullptr));
    ExpectRoomForThree();
  }
}

TEST_F(SampleCacheTest, keeps_its_order_while_it_grows) {
  cache = MakeCache(300);
  UINT taken = 0;
  for (UINT put = 0; put < 300; ++put) {
    EXPECT_TRUE(TryPut(put));
    if (put % 3 != 0) continue;
    EXPECT_EQ(TryTake().first, taken++);
  }
  while (taken < 300) EXPECT_EQ(TryTake().first, taken++);
}

TEST_F(SampleCacheTest, a_blocked_put_goes_on_after_a_take_a_flush_or_an_abort) {
  const CRkHandle abort = CRkHandle::ManualResetEvent();
  const auto blockedPut = [&](BOOL expected, const std::function<void()>& ending) {
    CBlockedCall put([&, expected] { EXPECT_EQ(cache->PutSample(MakeSample(9).Get(), 9, abort), expected); });
    ending();
  };
  for (UINT i = 0; i < 3; ++i) EXPECT_TRUE(TryPut(i, static_cast<LONG>(i)));
  blockedPut(TRUE, [&] { EXPECT_EQ(TryTake(), Taken(0, 0)); });
  blockedPut(TRUE, [&] { cache->Flush(); });
  EXPECT_EQ(TryTake(), Taken(9, 9));
  EXPECT_EQ(TryTake(), kNone);
  for (UINT i = 0; i < 3; ++i) EXPECT_TRUE(TryPut(i));
  blockedPut(FALSE, [&] { SetEvent(abort); });
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
  EXPECT_EQ(TryTake().first, 0u);
  EXPECT_FALSE(wait.IsDone());
  EXPECT_EQ(TryTake().first, 1u);
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
  EXPECT_EQ(TryTake().first, 0u);
  waitingFor(4, FALSE, 300, [&] { EXPECT_TRUE(TryPut(3)); });
  waitingFor(1, FALSE, 300, [&] {
    cache->Flush();  // forgets the count
    EXPECT_TRUE(TryPut(4));
  });
}

}  // namespace
