// A host in MSVC's ABI, which lays out the tables and names the functions by that compiler's rules.
#include <cstdio>

#include "base/CRkRef.h"
#include "base/CRkUnknown.h"
#include "module/RkClipPlay.h"

namespace {

LONG volatile g_alive = 0;

void Fail(int line) {
  std::printf("Client.cpp:%d does not hold\n", line);
  ExitProcess(1);
}
#define CHECK(condition) \
  if (!(condition)) Fail(__LINE__)

template <class Interface>
class CCounted : public CRkUnknown<Interface> {
 public:
  CCounted() { InterlockedIncrement(&g_alive); }
  ~CCounted() override { InterlockedDecrement(&g_alive); }
};

class CSink final : public CCounted<IRkClipOutputChannelNotify> {
 public:
  void OnWaitingChannelFree(BOOL free) override { waitingIsFree = free; }
  void OnPlayEnd(BOOL ended) override { ended ? ++ends : ++starts; }
  BOOL IsAutoSwitch() override { return TRUE; }

  BOOL waitingIsFree = TRUE;
  int starts = 0;
  int ends = 0;
};

class CHook final : public CCounted<IRkClipSampleProcessor> {
 public:
  void ProcessSample(IRkAVPlaySample* sample, IRkPlayBufferPool*) override {
    InterlockedIncrement(&seen);
    sample->SetAttachment(this);
  }
  void ReportSeekInterval(UINT) override {}

  LONG volatile seen = 0;
};

class CClip final : public CCounted<IRkClipElement> {
 public:
  explicit CClip(UINT frameCount) : m_frameCount(frameCount) {}

  BOOL Open(IRkPlayBufferPool*, UINT, const SRkClipFormat* format) override {
    m_next = 0;
    return format->video.reserved == 36 && format->audio.blockAlign == 4;
  }
  BOOL ReadNextSample(IRkAVPlaySample** sample) override { return ReadSampleAt(m_next, sample); }
  BOOL ReadSampleAt(UINT offset, IRkAVPlaySample** sample) override {
    if (offset >= m_frameCount || RkCreateAVPlaySample(sample) == 0) return FALSE;
    (*sample)->SetPosition(m_start + offset);
    m_next = offset + 1;
    return TRUE;
  }
  void SeekTo(UINT offset) override { m_next = offset; }
  UINT GetLastPosition() override { return m_start + m_frameCount - 1; }
  void Close() override {}
  void SetTimelineStart(UINT position) override { m_start = position; }
  UINT GetTimelineStart() override { return m_start; }
  UINT GetFrameCount() override { return m_frameCount; }
  void SetMode(UINT, BOOL*) override {}
  UINT GetMode() override { return 0; }
  void GetTrimInfo(IRkClipTrimInfo**) override {}
  void SetTrimInfo(IRkClipTrimInfo*) override {}

 private:
  const UINT m_frameCount;
  UINT m_start = 0;
  UINT m_next = 0;
};

template <class Object, class... Arguments>
CRkRef<Object> Make(Arguments... arguments) {
  return CRkRef<Object>::Adopt(new Object(arguments...));
}

// Takes the sample that comes next, which must be at the position and have passed the hook.
void TakeSample(IRkClipOutputChannel& channel, UINT position, CHook& hook) {
  CRkRef<IRkAVPlaySample> sample;
  CRkRef<IRkUnknown> attachment;
  UINT ofChannel = 0;
  CHECK(channel.GetSample(60000, sample.Out()) && sample->GetPosition() == position);
  CHECK(sample->GetAttachment(0, attachment.Out()) && attachment.Get() == &hook);
  CHECK(channel.GetPosition(&ofChannel) && ofChannel == position);
}

void PlayTwoLists() {
  SRkVideoResolution video = {64, 36, RkPixelFormat_I420, 0, RkFrameRate_25, 1, 1, 0, 36};
  auto sink = Make<CSink>();
  auto hook = Make<CHook>();
  CRkRef<IRkClipOutputChannel> channel;
  CRkRef<IRkClipElementList> list;
  CHECK(RkCreateClipOutputChannel(2, 4, video, RkMakeWaveFormat(2, 48000, 16), nullptr, sink.Get(),
                                  channel.Out()) == 1);
  CHECK(channel->SetSampleProcessor(hook.Get()) && channel->Reserved() == 0);
  CHECK(RkCreateClipElementList(list.Out()) == 1);
  CHECK(list->InsertElement(0, Make<CClip>(3u).Get()) && list->InsertElement(1, Make<CClip>(2u).Get()));
  CHECK(list->GetTotalFrameCount() == 5);

  CHECK(channel->InsertClipElement(list.Get(), 2, 1) && channel->Play() && sink->waitingIsFree);
  CHECK(channel->InsertClipElement(Make<CClip>(4u).Get(), 1, 2) && !sink->waitingIsFree);
  const UINT positions[] = {1, 2, 3, 4, 0, 1, 2, 3, 4, 2, 3};
  UINT status = 0;
  for (const UINT position : positions) {
    TakeSample(*channel, position, *hook);
    channel->SwitchChannel(&status);
  }
  CHECK(status == RkSwitchStatus_Ended);
  CHECK(sink->starts == 1 && sink->ends == 1 && hook->seen >= 11);
  CHECK(channel->Stop());
  list->RemoveAll();
  channel->RemoveSampleProcessor();
  CHECK(channel.Detach()->Release() == 0 && list.Detach()->Release() == 0);
}

// Arrays on both sides of the size from which on memory is taken in another way.
void ShareTrimRanges(UINT count) {
  IRkClipTrimInfo::Ranges ranges;
  IRkClipTrimInfo::Ranges copy;
  CRkRef<IRkClipTrimInfo> info;
  for (ULONGLONG i = 0; i < count; ++i) ranges.push_back({2 * i, 2 * i + 1});
  CHECK(RkCreateClipTrimInfo(ranges, info.Out()) == 1);
  copy.push_back({});  // the library frees what the host took
  info->GetTrimInOuts(copy);
  CHECK(copy.size() == count + 1 && copy[count].in == 2 * (count - 1) && copy[count].out == 2 * count - 1);
  for (UINT i = 0; i < count; ++i) copy.push_back({});  // the host frees what the library took
  IRkClipTrimInfo* const clone = info->Clone();
  delete clone;  // through the first slot
}

}  // namespace

int main() {
  PlayTwoLists();
  const UINT counts[] = {1, 255, 256, 1000};
  for (const UINT count : counts) ShareTrimRanges(count);
  CHECK(g_alive == 0);
  return 0;
}
