#pragma once

#include <gtest/gtest.h>

#include <vector>

#include "base/CRkAudioLock.h"
#include "base/CRkRef.h"
#include "module/RkClipPlay.h"

// Short ways to the parts of samples, and to the elements that tests read them from.

// What a call hands out through its pointer, if anything.
template <class Interface, class Call>
CRkRef<Interface> Made(const Call& call) {
  CRkRef<Interface> made;
  call(made.Out());
  return made;
}

inline CRkRef<IRkClipElement> MakePattern(UINT frames) {
  return Made<IRkClipElement>([&](auto** out) { return RkCreatePatternClipElement(frames, out); });
}

inline CRkRef<IRkClipTrimInfo> MakeTrim(const IRkClipTrimInfo::Ranges& ranges) {
  return Made<IRkClipTrimInfo>([&](auto** out) { return RkCreateClipTrimInfo(ranges, out); });
}

inline CRkRef<IRkVideoSample> VideoOf(IRkAVPlaySample& sample) {
  return Made<IRkVideoSample>([&](auto** out) { sample.GetVideoSample(out); });
}

inline CRkRef<IRkAudioSample> AudioOf(IRkAVPlaySample& sample, UINT block = 0) {
  return Made<IRkAudioSample>([&](auto** out) { sample.GetAudioSample(block, 0, out); });
}

inline CRkRef<IRkUnknown> PlaneOf(IRkVideoSample& video, UINT plane) {
  CRkRef<IRkUnknown> buffer;
  const BOOL has = video.GetBuffer(plane, buffer.Out());
  EXPECT_EQ(has != FALSE, static_cast<bool>(buffer));
  return buffer;
}

// The plane's memory, or null when the picture has no such plane. The sample keeps it.
inline const BYTE* RowsOf(IRkAVPlaySample& sample, UINT plane) {
  const auto video = VideoOf(sample);
  const auto buffer = video ? PlaneOf(*video, plane) : CRkRef<IRkUnknown>();
  return buffer ? static_cast<IRkPlayBuffer*>(buffer.Get())->GetData() : nullptr;
}

// The valid bytes of the first block; none without sound.
inline std::vector<BYTE> SoundOf(IRkAVPlaySample& sample) {
  const auto audio = AudioOf(sample);
  if (!audio) return {};
  SRkAudioSampleInfo info{};
  audio->GetInfo(&info);
  const CRkAudioLock lock(*audio);
  return {lock.Data(), lock.Data() + info.dataLength};
}
