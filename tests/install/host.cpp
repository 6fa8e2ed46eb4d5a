// A host as small as can be: plays one frame of the pattern.
#include "base/CRkRef.h"
#include "module/RkClipPlay.h"

int main() {
  CRkRef<IRkClipSourceChannel> channel;
  CRkRef<IRkClipElement> clip;
  CRkRef<IRkAVPlaySample> sample;
  const SRkVideoResolution video = {64, 36, RkPixelFormat_I420, 0, RkFrameRate_25, 1, 1, 0, 0};
  if (!RkCreatePatternClipElement(1, clip.Out())) return 1;
  if (!RkCreateClipSourceChannel(1, 1, video, RkMakeWaveFormat(2, 48000, 16), nullptr, channel.Out()))
    return 2;
  if (!channel->InsertElement(0, clip.Get()) || !channel->Play(0, 1)) return 3;
  return channel->GetSample(60000, sample.Out()) && sample->GetPosition() == 0 ? 0 : 4;
}
