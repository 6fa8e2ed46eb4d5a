#pragma once

#include "base/CRkAudioLock.h"
#include "output_device/CRkPacing.h"
#include "output_device/CRkSampleQueue.h"
#include "tests/support/RkFakes.h"
#include "tests/support/RkSamples.h"

// 16-bit samples of a block that is not locked otherwise.
inline int16_t* SamplesOf(IRkAudioSample& audio) {
  return reinterpret_cast<int16_t*>(CRkAudioLock(audio).Data());
}

// Writes down what the device hands out: "play", "stop", "blank", "v<index>" and "a<bytes>".
class CFakeDeviceCallback : public CFake<IRkSoftwareOutputCallback> {
 public:
  void OnPlay() override { m_events.Add("play"); }
  void OnAudioSample(IRkAudioSample* audio, IRkUnknown* extra) override {
    SRkAudioSampleInfo info = {};
    audio->GetInfo(&info);
    Write("a", info.dataLength);
    if (extra != nullptr) ++attachments;
  }
  void OnVideoSample(IRkVideoSample* video) override {
    if (video == nullptr) return m_events.Add("blank");
    Write("v", video->GetFrameIndex());
    pictureGate.Pass();
    if (onPicture) onPicture();
  }
  void OnStop() override { m_events.Add("stop"); }

  std::atomic<int> attachments = 0;
  CGate pictureGate;  // every picture passes it
  std::function<void()> onPicture;

  std::vector<std::string> Take() { return m_events.Take(); }
  bool Has(const std::string& event) {
    const auto events = m_events.All();
    return std::count(events.begin(), events.end(), event) > 0;
  }

 private:
  void Write(const char* kind, UINT number) { m_events.Add(kind + std::to_string(number)); }
  CRecord<std::string> m_events;
};

// A renderer whose play position the test turns by hand.
class CScriptedRenderer : public CFake<IRkAudioDirectSound> {
 public:
  std::atomic<bool> plays = false;
  std::atomic<bool> notifies = true;
  std::atomic<double> positionMs = 0.0;
  std::atomic<int> stops = 0;
  std::atomic<double> stepMs = 0.0;       // how far it moves each time it is read
  std::pair<int, int> firstSamples = {};  // left and right, of the first write

  void Reset() override {
    plays = false;
    positionMs = stepMs = 0.0;
    m_writes.Take();
    m_wrote = false;
  }
  void Stop() override { ++stops; }
  BOOL Play() override { return plays; }
  void WriteSample(IRkAudioSample* audio, ULONGLONG writePosition) override {
    SRkAudioSampleInfo info = {};
    audio->GetInfo(&info);
    if (!m_wrote.exchange(true)) firstSamples = {SamplesOf(*audio)[0], SamplesOf(*audio)[1]};
    m_writes.Add({writePosition, info.dataLength});
  }
  void SetNotifyInterval(double) override {}
  BOOL WaitForNotify(UINT) override { return notifies; }
  double GetBufferDuration() override { return 1000.0; }
  void GetPlayPosition(double* position) override {
    positionMs = positionMs + stepMs;
    *position = positionMs;
  }

  std::vector<std::pair<ULONGLONG, DWORD>> Writes() { return m_writes.All(); }

 private:
  std::atomic<bool> m_wrote = false;
  CRecord<std::pair<ULONGLONG, DWORD>> m_writes;
};

struct SPacingEvents {
  const CRkHandle exit = CRkHandle::ManualResetEvent();
  const CRkHandle stop = CRkHandle::ManualResetEvent();
  const CRkHandle videoDone = CRkHandle::AutoResetEvent();
  const CRkHandle audioDone = CRkHandle::ManualResetEvent();
  SRkPacingEvents All() const { return {exit, stop, videoDone, audioDone}; }
};

inline void Push(CRkSampleQueue& queue, IRkUnknown* item) {
  CRkRef<IRkUnknown> dropped;
  queue.Push(item, dropped.Out());
}

inline CRkRef<IRkVideoSample> MakeVideo(UINT index) {
  const auto video = Made<IRkVideoSample>([](auto** out) { RkCreateVideoSample(out); });
  video->SetFrameIndex(index);
  return video;
}

// A block whose samples all have one value per channel: value, value + step, ...
inline CRkRef<IRkAudioSample> MakeBlock(int channels, WORD bits, DWORD count, int value, int step,
                                        DWORD rate = 48000) {
  CRkRef<IRkAudioSample> block;
  RkCreateUserAudioSample(RkMakeWaveFormat(channels, rate, bits), nullptr, count, block.Out());
  block->SetSampleCount(count);
  const CRkAudioLock lock(*block);
  for (DWORD i = 0; i < count * static_cast<DWORD>(channels); ++i) {
    const int sample = value + step * static_cast<int>(i % static_cast<DWORD>(channels));
    for (int byte = 0; byte < bits / 8; ++byte) {
      lock.Data()[i * (bits / 8) + static_cast<DWORD>(byte)] = static_cast<BYTE>(sample >> (8 * byte));
    }
  }
  return block;
}

inline CRkRef<IRkAVPlaySample> MakeSample(const std::vector<CRkRef<IRkAudioSample>>& blocks) {
  CRkRef<IRkAVPlaySample> sample;
  RkCreateAVPlaySample(sample.Out());
  for (UINT i = 0; i < blocks.size(); ++i) {
    if (blocks[i]) sample->SetAudioSample(i, blocks[i].Get());
  }
  return sample;
}
