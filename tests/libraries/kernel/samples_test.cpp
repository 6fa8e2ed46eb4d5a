#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <thread>

#include "base/CRkPoolElement.h"
#include "base/CRkRef.h"
#include "base/CRkUnknown.h"
#include "contracts/RkKernel.h"

namespace {

std::atomic<int> g_livePlanes = 0;

struct CPlane : CRkUnknown<IRkUnknown> {
  CPlane() { ++g_livePlanes; }
  ~CPlane() override { --g_livePlanes; }
};

template <class T>
CRkRef<T> Make(int (*factory)(T**)) {
  CRkRef<T> object;
  EXPECT_EQ(factory(object.Out()), 1);
  return object;
}

CRkRef<IRkUnknown> MakePlane() {
  return CRkRef<IRkUnknown>::Adopt(new CPlane);
}

CRkRef<IRkAudioSample> MakeAudio() {
  CRkRef<IRkAudioSample> audio;
  EXPECT_EQ(RkCreateUserAudioSample(RkMakeWaveFormat(2, 48000, 16), nullptr, 10, audio.Out()), 1);
  return audio;
}

CRkRef<IRkAVPlaySample> MakePicture(UINT index) {
  const auto video = Make(RkCreateVideoSample);
  EXPECT_EQ(video->GetFrameIndex(), kRkNoPosition);
  video->SetFrameIndex(index);
  for (UINT plane = 0; plane < 3; ++plane) video->SetBuffer(plane, MakePlane().Get());
  auto sample = Make(RkCreateAVPlaySample);
  sample->SetVideoSample(video.Get());
  return sample;
}

CRkRef<IRkVideoSample> VideoOf(const CRkRef<IRkAVPlaySample>& sample) {
  CRkRef<IRkVideoSample> video;
  sample->GetVideoSample(video.Out());
  return video;
}

CRkRef<IRkAudioSample> AudioOf(const CRkRef<IRkAVPlaySample>& sample, UINT block) {
  CRkRef<IRkAudioSample> audio;
  sample->GetAudioSample(block, 0, audio.Out());
  return audio;
}

IRkUnknown* PlaneOf(const CRkRef<IRkVideoSample>& video, UINT index) {
  CRkRef<IRkUnknown> plane;
  const BOOL has = video->GetBuffer(index, plane.Out());
  EXPECT_EQ(has != FALSE, static_cast<bool>(plane));
  return plane.Get();
}

TEST(Samples, a_copy_shares_planes_sound_and_attachment_but_is_stamped_on_its_own) {
  const auto source = MakePicture(3);
  const auto target = Make(RkCreateAVPlaySample);
  const auto attachment = MakePlane();
  source->SetPosition(7);
  for (UINT block = 0; block < 2; ++block) source->SetAudioSample(block, MakeAudio().Get());
  for (UINT block = 0; block < 3; ++block) target->SetAudioSample(block, MakeAudio().Get());
  source->SetAttachment(attachment.Get());

  source->CopyTo(target.Get());
  source->CopyTo(source.Get());
  EXPECT_EQ(target->GetPosition(), 7u);
  EXPECT_EQ(VideoOf(target)->GetFrameIndex(), 3u);
  VideoOf(target)->SetFrameIndex(200);
  VideoOf(target)->SetBuffer(0, nullptr);

  EXPECT_EQ(VideoOf(source)->GetFrameIndex(), 3u);
  EXPECT_NE(PlaneOf(VideoOf(source), 0), nullptr);
  EXPECT_EQ(PlaneOf(VideoOf(target), 0), nullptr);
  EXPECT_EQ(PlaneOf(VideoOf(source), 2), PlaneOf(VideoOf(target), 2));
  EXPECT_EQ(PlaneOf(VideoOf(target), 4), nullptr);
  EXPECT_EQ(AudioOf(source, 1).Get(), AudioOf(target, 1).Get());
  EXPECT_FALSE(AudioOf(target, 2));
  CRkRef<IRkUnknown> item;
  EXPECT_TRUE(target->GetAttachment(0, item.Out()));
  EXPECT_EQ(item.Get(), attachment.Get());

  Make(RkCreateAVPlaySample)->CopyTo(target.Get());
  EXPECT_FALSE(VideoOf(target));
  EXPECT_FALSE(AudioOf(target, 0));
  EXPECT_FALSE(target->GetAttachment(0, item.Out()));
}

TEST(Samples, copying_again_writes_only_to_a_picture_that_nobody_else_holds) {
  const auto first = MakePicture(1);
  const auto second = MakePicture(2);
  const auto target = Make(RkCreateAVPlaySample);
  first->CopyTo(target.Get());
  const auto queued = VideoOf(target);
  second->CopyTo(target.Get());
  EXPECT_EQ(queued->GetFrameIndex(), 1u);
  EXPECT_EQ(PlaneOf(queued, 0), PlaneOf(VideoOf(first), 0));
  EXPECT_EQ(VideoOf(target)->GetFrameIndex(), 2u);

  IRkVideoSample* const unshared = VideoOf(target).Get();
  first->CopyTo(target.Get());
  EXPECT_EQ(VideoOf(target).Get(), unshared);
  EXPECT_EQ(unshared->GetFrameIndex(), 1u);

  target->SetVideoSample(VideoOf(second).Get());
  first->CopyTo(target.Get());
  EXPECT_EQ(VideoOf(second)->GetFrameIndex(), 2u);
}

TEST(Samples, of_many_releasing_threads_exactly_one_gives_a_pool_element_back) {
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

TEST(SamplePool, never_has_more_samples_out_than_it_was_made_with) {
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

TEST(SamplePool, a_sample_that_goes_back_lets_go_of_all_it_held_and_leaves_a_queued_picture_whole) {
  const auto pool = MakePool(1);
  auto queued = VideoOf(MakePicture(1));
  {
    const auto sample = TakeSample(*pool, 0);
    sample->SetVideoSample(queued.Get());
    sample->SetAttachment(MakePlane().Get());
    sample->SetAudioSample(0, MakeAudio().Get());
  }
  EXPECT_EQ(g_livePlanes, 3);
  queued.Reset();
  EXPECT_EQ(g_livePlanes, 0);
  const auto again = TakeSample(*pool, 0);
  EXPECT_FALSE(AudioOf(again, 0));
  EXPECT_EQ(again->GetPosition(), kRkNoPosition);
}

TEST(SamplePool, samples_outlive_their_pool) {
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

TEST(UserAudioSample, counts_in_bytes_what_is_valid_and_cuts_it_to_the_capacity) {
  BYTE memory[18 * 4] = {};
  for (BYTE* data : {static_cast<BYTE*>(nullptr), memory}) {
    CRkRef<IRkAudioSample> audio;
    ASSERT_EQ(RkCreateUserAudioSample(RkMakeWaveFormat(6, 48000, 24), data, 4, audio.Out()), 1);
    SRkLockAudioSample lock{};
    SRkAudioSampleInfo info{};
    audio->SetSampleCount(3);
    audio->GetInfo(&info);
    EXPECT_EQ(info.dataLength, 54u);
    audio->SetSampleCount(5);
    audio->Lock(&lock);
    EXPECT_EQ(lock.sampleCount, 4u);
    EXPECT_TRUE(data == nullptr || lock.data == data);
    std::fill_n(lock.data, sizeof(memory), BYTE{1});
    audio->Unlock();
  }
}

}  // namespace
