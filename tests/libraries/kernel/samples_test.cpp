#include <gtest/gtest.h>

#include <algorithm>

#include "base/CRkPoolElement.h"
#include "tests/support/RkFakes.h"
#include "tests/support/RkSamples.h"

namespace {

using CPlane = CFake<IRkUnknown>;

CRkRef<IRkAVPlaySample> MakeSample() {
  return Made<IRkAVPlaySample>(RkCreateAVPlaySample);
}

CRkRef<IRkAudioSample> MakeAudio() {
  return Made<IRkAudioSample>(
      [](auto** out) { return RkCreateUserAudioSample(kTestAudio, nullptr, 10, out); });
}

CRkRef<IRkAVPlaySample> MakePicture(UINT index) {
  const auto video = Made<IRkVideoSample>(RkCreateVideoSample);
  EXPECT_EQ(video->GetFrameIndex(), kRkNoPosition);
  video->SetFrameIndex(index);
  for (UINT plane = 0; plane < 3; ++plane) video->SetBuffer(plane, MakeFake<CPlane>().Get());
  auto sample = MakeSample();
  sample->SetVideoSample(video.Get());
  return sample;
}

TEST(samples, a_copy_shares_planes_sound_and_attachment_but_is_stamped_on_its_own) {
  const auto source = MakePicture(3);
  const auto target = MakeSample();
  const auto attachment = MakeFake<CPlane>();
  source->SetPosition(7);
  for (UINT block = 0; block < 2; ++block) source->SetAudioSample(block, MakeAudio().Get());
  for (UINT block = 0; block < 3; ++block) target->SetAudioSample(block, MakeAudio().Get());
  source->SetAttachment(attachment.Get());

  source->CopyTo(target.Get());
  source->CopyTo(source.Get());
  EXPECT_EQ(target->GetPosition(), 7u);
  EXPECT_EQ(VideoOf(*target)->GetFrameIndex(), 3u);
  VideoOf(*target)->SetFrameIndex(200);
  VideoOf(*target)->SetBuffer(0, nullptr);

  EXPECT_EQ(VideoOf(*source)->GetFrameIndex(), 3u);
  EXPECT_NE(PlaneOf(*VideoOf(*source), 0).Get(), nullptr);
  EXPECT_EQ(PlaneOf(*VideoOf(*target), 0).Get(), nullptr);
  EXPECT_EQ(PlaneOf(*VideoOf(*source), 2).Get(), PlaneOf(*VideoOf(*target), 2).Get());
  EXPECT_EQ(PlaneOf(*VideoOf(*target), 4).Get(), nullptr);
  EXPECT_EQ(AudioOf(*source, 1).Get(), AudioOf(*target, 1).Get());
  EXPECT_FALSE(AudioOf(*target, 2));
  CRkRef<IRkUnknown> item;
  EXPECT_TRUE(target->GetAttachment(0, item.Out()));
  EXPECT_EQ(item.Get(), attachment.Get());

  MakeSample()->CopyTo(target.Get());
  EXPECT_FALSE(VideoOf(*target));
  EXPECT_FALSE(AudioOf(*target, 0));
  EXPECT_FALSE(target->GetAttachment(0, item.Out()));
}

TEST(samples, copying_again_writes_only_to_a_picture_that_nobody_else_holds) {
  const auto first = MakePicture(1);
  const auto second = MakePicture(2);
  const auto target = MakeSample();
  first->CopyTo(target.Get());
  const auto queued = VideoOf(*target);
  second->CopyTo(target.Get());
  EXPECT_EQ(queued->GetFrameIndex(), 1u);
  EXPECT_EQ(PlaneOf(*queued, 0).Get(), PlaneOf(*VideoOf(*first), 0).Get());
  EXPECT_EQ(VideoOf(*target)->GetFrameIndex(), 2u);

  IRkVideoSample* const unshared = VideoOf(*target).Get();
  first->CopyTo(target.Get());
  EXPECT_EQ(VideoOf(*target).Get(), unshared);
  EXPECT_EQ(unshared->GetFrameIndex(), 1u);

  target->SetVideoSample(VideoOf(*second).Get());
  first->CopyTo(target.Get());
  EXPECT_EQ(VideoOf(*second)->GetFrameIndex(), 2u);
}

TEST(samples, of_many_releasing_threads_exactly_one_gives_a_pool_element_back) {
  struct COwner : CRkUnknown<IRkPoolElementOwner> {
    std::atomic<int> givenBack{0};
    void GiveBack(IRkPoolElement*) override { ++givenBack; }
  };
  struct CElement : CRkPoolElement<IRkPoolElement> {};
  const auto owner = CRkRef<COwner>::Adopt(new COwner);
  auto* const element = new CElement;
  element->SetOwner(owner.Get());
  for (int round = 1; round <= 200; ++round) {
    std::thread users[3];
    for (int user = 0; user < 3; ++user) element->AddRef();
    ASSERT_EQ(element->UserCount(), 3u);
    for (auto& user : users) user = std::thread([element] { element->Release(); });
    for (auto& user : users) user.join();
    ASSERT_EQ(owner->givenBack, round);
  }
  EXPECT_EQ(element->Release(), 0u);
}

class sample_pool : public testing::Test {
 protected:
  sample_pool() { EXPECT_TRUE(RkCreateAVPlaySamplePool(2, m_pool.Out())); }

  CRkRef<IRkVideoSample> TakeVideo() {
    return Made<IRkVideoSample>([&](auto** out) { m_pool->GetVideoSample(0, out); });
  }
  CRkRef<IRkAVPlaySample> TakeSample(DWORD timeoutMs = 0) {
    return Made<IRkAVPlaySample>([&](auto** out) { m_pool->GetAVPlaySample(timeoutMs, out); });
  }

  CRkRef<IRkAVPlaySamplePool> m_pool;
};

TEST_F(sample_pool, never_has_more_samples_out_than_it_was_made_with_and_they_outlive_it) {
  auto video = TakeVideo();
  auto sample = TakeSample();
  EXPECT_TRUE(video && sample);
  EXPECT_FALSE(TakeVideo());
  EXPECT_FALSE(TakeSample(5));
  sample.Reset();
  EXPECT_TRUE(TakeVideo());
  sample = TakeSample();
  video->SetBuffer(1, MakeFake<CPlane>().Get());
  m_pool.Reset();
  video->SetFrameIndex(1);
  video.Reset();
  EXPECT_EQ(g_liveFakes, 0);
  EXPECT_FALSE(RkCreateAVPlaySamplePool(0, m_pool.Out()));
}

TEST_F(sample_pool, a_sample_that_goes_back_drops_all_it_held_and_leaves_a_queued_picture_whole) {
  const auto other = TakeSample();
  auto queued = VideoOf(*MakePicture(1));
  {
    const auto sample = TakeSample();
    sample->SetVideoSample(queued.Get());
    sample->SetAttachment(MakeFake<CPlane>().Get());
    sample->SetAudioSample(0, MakeAudio().Get());
  }
  EXPECT_EQ(g_liveFakes, 3);
  queued.Reset();
  EXPECT_EQ(g_liveFakes, 0);
  const auto again = TakeSample();
  EXPECT_FALSE(AudioOf(*again));
  EXPECT_EQ(again->GetPosition(), kRkNoPosition);
}

TEST(user_audio_sample, counts_in_bytes_what_is_valid_and_cuts_it_to_the_capacity) {
  BYTE memory[18 * 4] = {};
  for (BYTE* data : {static_cast<BYTE*>(nullptr), memory}) {
    CRkRef<IRkAudioSample> audio;
    ASSERT_EQ(RkCreateUserAudioSample(RkMakeWaveFormat(6, 48000, 24), data, 4, audio.Out()), 1);
    SRkAudioSampleInfo info{};
    audio->SetSampleCount(3);
    audio->GetInfo(&info);
    EXPECT_EQ(info.dataLength, 54u);
    audio->SetSampleCount(5);
    const CRkAudioLock lock(*audio);
    EXPECT_EQ(lock.SampleCount(), 4u);
    EXPECT_TRUE(data == nullptr || lock.Data() == data);
    std::fill_n(lock.Data(), sizeof(memory), BYTE{1});
  }
}

}  // namespace
