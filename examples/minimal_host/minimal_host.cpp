// Plays two clip lists, one after the other, and counts the frames that come out.
#include <cstdio>

#include "contracts/CRkRef.h"
#include "module/RkClipPlay.h"

int main() {
  const SRkVideoResolution video = {640, 360, RkPixelFormat_I420,   0, RkFrameRate_25,
                                    1,   1,   RkColorRange_Limited, 0};
  const SRkWaveFormatInfo audio = RkMakeWaveFormat(2, 48000, 16);

  // Samples to wait for when a list is cued, samples decoded ahead; no picture memory of our own, no sink.
  CRkRef<IRkClipOutputChannel> channel;
  if (!RkCreateClipOutputChannel(5, 10, video, audio, nullptr, nullptr, channel.Out())) return 1;

  // The first list goes on air, the second is cued behind it.
  for (UINT frames : {50u, 25u}) {
    CRkRef<IRkClipElement> clip;
    if (!RkCreatePatternClipElement(frames, clip.Out())) return 1;
    if (!channel->InsertClipElement(clip.Get(), 1, 0)) return 1;
    if (frames == 50 && !channel->Play()) return 1;
  }

  UINT delivered = 0;
  UINT status = RkSwitchStatus_Playing;
  while (status != RkSwitchStatus_Ended) {
    CRkRef<IRkAVPlaySample> sample;
    if (channel->GetSample(1000, sample.Out())) ++delivered;  // here a real host shows it
    channel->SwitchChannel(&status);
    if (status == RkSwitchStatus_Switched) std::printf("next list after %u frames\n", delivered);
  }
  std::printf("%u frames played\n", delivered);
  return delivered == 75 ? 0 : 1;
}
