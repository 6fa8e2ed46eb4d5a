#include "tests/module/Faults.h"
#include "tests/support/RkFakes.h"
#include "tests/support/RkSamples.h"

namespace {

using Ranges = IRkClipTrimInfo::Ranges;
const SRkClipFormat kFormat = {kTestAudio, kTestVideo};

TEST(memory, that_runs_out_in_the_clip_core_is_a_refusal) {
  const Ranges ranges = {{2, 5}, {7, 9}};
  FailEach("list", [] {
    const auto list = Made<IRkClipElementList>(RkCreateClipElementList);
    bool inserted = static_cast<bool>(list);
    for (UINT i = 0; inserted && i < 5; ++i) {
      const auto element = MakePattern(10);
      inserted = list->InsertElement(i, element.Get()) != FALSE;
      EXPECT_EQ(list->GetCount(), static_cast<int>(inserted ? i + 1 : i));
    }
    return inserted;
  });
  FailEach("trim information", [&] {
    const auto info = MakeTrim(ranges);
    const auto clone = CRkRef<IRkClipTrimInfo>::Adopt(info ? info->Clone() : nullptr);
    return static_cast<bool>(clone);
  });
  FailEach("pattern", [&] {
    const auto element = MakePattern(10);
    const auto info = MakeTrim(ranges);
    if (!element || !info) return false;
    element->SetTrimInfo(info.Get());
    const bool trimmed = element->GetFrameCount() == 5;
    CRkRef<IRkAVPlaySample> sample;
    const bool read = element->Open(nullptr, 0, &kFormat) && element->ReadNextSample(sample.Out());
    element->Close();
    return trimmed && read;
  });
}

TEST(memory, that_runs_out_in_the_kernel_is_a_refusal) {
  FailEach("pool", [] {
    const auto pool = Made<IRkAVPlaySamplePool>([](auto** out) { return RkCreateAVPlaySamplePool(2, out); });
    if (!pool) return false;
    const auto copy = Made<IRkAVPlaySample>([&](auto** out) { pool->GetAVPlaySample(0, out); });
    const auto source = Made<IRkAVPlaySample>(RkCreateAVPlaySample);
    const auto video = Made<IRkVideoSample>(RkCreateVideoSample);
    const auto sound = Made<IRkAudioSample>(
        [](auto** out) { return RkCreateUserAudioSample(kTestAudio, nullptr, 1920, out); });
    if (!copy || !source || !video || !sound) return false;
    source->SetVideoSample(video.Get());
    source->SetAudioSample(0, sound.Get());
    source->CopyTo(copy.Get());
    return VideoOf(*copy) && AudioOf(*copy);
  });
  FailEach("clock", [] { return static_cast<bool>(Made<IRkSoftRefClock>(RkCreateSoftRefClock)); });
  RkSelectAudioSystem(RkAudioSystem_Virtual, nullptr);
  FailEach("renderer", [] {
    return static_cast<bool>(Made<IRkAudioDirectSound>(
        [](auto** out) { return RkCreateAudioDirectSound(kTestAudio, nullptr, 1000.0, 0, out); }));
  });
}

TEST(memory, that_runs_out_while_a_list_is_cued_leaves_the_channel_usable) {
  CRkRef<IRkClipOutputChannel> channel;
  ASSERT_TRUE(RkCreateClipOutputChannel(1, 3, kTestVideo, kTestAudio, nullptr, nullptr, channel.Out()));
  const auto element = MakeFake<CFakeElement>(5);
  const auto cue = [&] {
    const bool cued = channel->InsertClipElement(element.Get(), 1, 0) != FALSE;
    channel->DeleteClip();
    return cued;
  };
  EXPECT_TRUE(cue());
  for (int n = 0;; ++n) {
    FailAllocation(n);
    EXPECT_NO_THROW(cue());
    if (EndFailing() <= n) break;
    EXPECT_TRUE(cue()) << "after allocation " << n;
  }
}

}  // namespace
