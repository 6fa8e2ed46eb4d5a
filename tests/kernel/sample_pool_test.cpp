#include <atomic>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "contracts/CRkRef.h"
#include "contracts/CRkUnknown.h"
#include "contracts/RkKernel.h"

namespace {

std::atomic<int> g_livePlanes = 0;

class CPlane : public CRkUnknown<IRkUnknown> {
 public:
  CPlane() { ++g_livePlanes; }
  ~CPlane() override { --g_livePlanes; }
};

CRkRef<IRkUnknown> MakePlane() {
  return CRkRef<IRkUnknown>::Adopt(new CPlane);
}

CRkRef<IRkAVPlaySamplePool> MakePool(UINT count) {
  CRkRef<IRkAVPlaySamplePool> pool;
  EXPECT_TRUE(RkCreateAVPlaySamplePool(count, pool.Out()));
  return pool;
}

CRkRef<IRkVideoSample> TakeVideo(IRkAVPlaySamplePool& pool, DWORD timeoutMs) {
  CRkRef<IRkVideoSample> video;
  pool.GetVideoSample(timeoutMs, video.Out());
  return video;
}

CRkRef<IRkAVPlaySample> TakeSample(IRkAVPlaySamplePool& pool, DWORD timeoutMs) {
  CRkRef<IRkAVPlaySample> sample;
  pool.GetAVPlaySample(timeoutMs, sample.Out());
  return sample;
}

TEST(sample_pool, never_has_more_samples_out_than_it_was_made_with) {
  const auto pool = MakePool(2);
  auto video = TakeVideo(*pool, 0);
  auto sample = TakeSample(*pool, 0);
  EXPECT_TRUE(video && sample);
  EXPECT_FALSE(TakeVideo(*pool, 0));
  EXPECT_FALSE(TakeSample(*pool, 5));
  sample.Reset();
  EXPECT_TRUE(TakeVideo(*pool, 0));
  IRkAVPlaySamplePool* none = nullptr;
  EXPECT_FALSE(RkCreateAVPlaySamplePool(0, &none));
}

TEST(sample_pool, a_sample_that_goes_back_lets_go_of_everything_it_held) {
  const auto pool = MakePool(1);
  {
    CRkRef<IRkVideoSample> picture;
    ASSERT_TRUE(RkCreateVideoSample(picture.Out()));
    picture->SetBuffer(0, MakePlane().Get());
    const auto sample = TakeSample(*pool, 0);
    sample->SetVideoSample(picture.Get());
    sample->SetAttachment(MakePlane().Get());
    CRkRef<IRkAudioSample> sound;
    ASSERT_TRUE(RkCreateUserAudioSample(RkMakeWaveFormat(2, 48000, 16), nullptr, 10, sound.Out()));
    sample->SetAudioSample(0, sound.Get());
  }
  EXPECT_EQ(g_livePlanes, 0);
  const auto again = TakeSample(*pool, 0);
  CRkRef<IRkAudioSample> sound;
  again->GetAudioSample(0, 0, sound.Out());
  EXPECT_FALSE(sound);
  EXPECT_EQ(again->GetPosition(), kRkNoPosition);
}

TEST(sample_pool, a_copy_given_back_leaves_its_picture_to_the_queue_that_still_holds_it) {
  const auto pool = MakePool(1);
  CRkRef<IRkAVPlaySample> source;
  CRkRef<IRkVideoSample> picture;
  ASSERT_TRUE(RkCreateAVPlaySample(source.Out()) && RkCreateVideoSample(picture.Out()));
  picture->SetBuffer(0, MakePlane().Get());
  picture->SetFrameIndex(3);
  source->SetVideoSample(picture.Get());

  CRkRef<IRkVideoSample> queued;
  for (UINT frame = 10; frame < 12; ++frame) {
    const auto copy = TakeSample(*pool, 0);
    source->CopyTo(copy.Get());
    CRkRef<IRkVideoSample> shown;
    copy->GetVideoSample(shown.Out());
    shown->SetFrameIndex(frame);
    if (!queued) queued = shown;
  }
  EXPECT_EQ(picture->GetFrameIndex(), 3U);
  EXPECT_EQ(queued->GetFrameIndex(), 10U);
  CRkRef<IRkUnknown> plane;
  EXPECT_TRUE(queued->GetBuffer(0, plane.Out()));
}

TEST(sample_pool, samples_outlive_their_pool) {
  auto pool = MakePool(2);
  auto video = TakeVideo(*pool, 0);
  auto sample = TakeSample(*pool, 0);
  video->SetBuffer(1, MakePlane().Get());
  pool.Reset();
  video->SetFrameIndex(1);
  video.Reset();
  EXPECT_EQ(g_livePlanes, 0);
  sample.Reset();
}

TEST(sample_pool, a_getter_wakes_when_a_sample_comes_back_from_any_thread) {
  const auto pool = MakePool(3);
  std::atomic<int> out = 0;
  std::atomic<bool> tooMany = false;
  std::vector<std::thread> users;
  for (int user = 0; user < 6; ++user) {
    users.emplace_back([&] {
      for (int i = 0; i < 2000; ++i) {
        auto sample = TakeSample(*pool, INFINITE);
        if (++out > 3) tooMany = true;
        --out;
        std::thread* const elsewhere = i % 500 == 0 ? new std::thread([&] { sample.Reset(); }) : nullptr;
        if (elsewhere != nullptr) elsewhere->join();
        delete elsewhere;
      }
    });
  }
  for (auto& user : users) user.join();
  EXPECT_FALSE(tooMany);
}

}  // namespace
