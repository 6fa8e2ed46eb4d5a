#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "base/CRkRef.h"
#include "base/CRkTimelineStart.h"
#include "base/CRkUnknown.h"
#include "module/RkClipPlay.h"

// Fakes of what the host and the clip core hand to the module: scripted, counted, and instant unless scripted
// otherwise. Any thread may enter; members that a test sets before a run are not locked.

// Long enough for any machine; only a hang takes this long.
inline constexpr DWORD kTestDeadlineMs = 60000;

// The number of live fakes: 0 at the end of a test without leaks.
inline std::atomic<int> g_liveFakes = 0;

template <class Interface>
class CFake : public CRkUnknown<Interface> {
 public:
  CFake() { ++g_liveFakes; }
  ~CFake() override { --g_liveFakes; }
};

template <class Object, class... Arguments>
CRkRef<Object> MakeFake(Arguments&&... arguments) {
  return CRkRef<Object>::Adopt(new Object(std::forward<Arguments>(arguments)...));
}

// The current number of references to an object.
inline UINT References(IRkUnknown& object) {
  object.AddRef();
  return object.Release();
}

// Polls a condition that other threads fulfil.
inline bool WaitUntil(const std::function<bool()>& condition) {
  const ULONGLONG end = GetTickCount64() + kTestDeadlineMs;
  while (!condition()) {
    if (GetTickCount64() > end) return false;
    std::this_thread::sleep_for(std::chrono::microseconds(200));
  }
  return true;
}

// Values in the order in which threads add them.
template <class Value>
class CRecord {
 public:
  void Add(Value value) {
    std::lock_guard lock(m_mutex);
    m_values.push_back(std::move(value));
  }
  std::vector<Value> All() {
    std::lock_guard lock(m_mutex);
    return m_values;
  }
  // Those since the last call.
  std::vector<Value> Take() {
    std::lock_guard lock(m_mutex);
    return std::exchange(m_values, {});
  }

 private:
  std::mutex m_mutex;
  std::vector<Value> m_values;
};

// Blocks threads while it is shut.
class CGate {
 public:
  void Shut() {
    std::lock_guard lock(m_mutex);
    m_open = false;
  }
  void Open() {
    std::lock_guard lock(m_mutex);
    m_open = true;
    m_changed.notify_all();
  }
  void Pass() {
    std::unique_lock lock(m_mutex);
    ++m_waiting;
    m_changed.wait(lock, [&] { return m_open; });
    --m_waiting;
  }
  bool SomebodyWaits() {
    std::lock_guard lock(m_mutex);
    return m_waiting > 0;
  }

 private:
  std::mutex m_mutex;
  std::condition_variable m_changed;
  bool m_open = true;
  int m_waiting = 0;
};

class CFakePool : public CFake<IRkPlayBufferPool> {};

// An element of numbered frames without picture or sound. Counts the calls it receives, and attaches itself
// to its samples, so that a test can tell which element delivered them.
class CFakeElement : public CFake<IRkClipElement> {
 public:
  explicit CFakeElement(UINT frames, char name = '?') : name(name), m_frames(frames) {}
  const char name;

  // Script.
  std::atomic<bool> canOpen = true;
  std::atomic<UINT> unreadableFrom = kRkNoPosition;  // reads at or past this offset fail
  std::atomic<int> positionError = 0;                // added to every sample's position
  CGate readGate;                                    // every read passes it
  CGate openGate;                                    // every open passes it

  // What happened.
  std::atomic<int> openTries = 0;
  std::atomic<int> opens = 0;  // that succeeded
  std::atomic<int> closes = 0, reads = 0;
  std::atomic<int> readers = 0;       // threads inside a read now
  std::atomic<bool> misused = false;  // moved or closed during a read, or read while closed
  SRkClipFormat formatAtOpen = {};    // read once the open has returned
  std::atomic<IRkPlayBufferPool*> poolAtOpen = nullptr;

  std::vector<UINT> Seeks() { return m_seeks.All(); }

  BOOL Open(IRkPlayBufferPool* pool, UINT, const SRkClipFormat* format) override {
    openGate.Pass();
    ++openTries;
    if (!canOpen) return FALSE;
    ++opens;
    m_start.Take();
    formatAtOpen = *format;
    poolAtOpen = pool;
    m_open = true;
    m_next = 0;
    return TRUE;
  }
  BOOL ReadNextSample(IRkAVPlaySample** sample) override { return Read(m_next, sample); }
  BOOL ReadSampleAt(UINT offset, IRkAVPlaySample** sample) override { return Read(offset, sample); }
  void SeekTo(UINT offset) override {
    if (readers > 0) misused = true;
    m_seeks.Add(offset);
    m_next = offset;
  }
  UINT GetLastPosition() override { return m_start.Get() + m_frames - 1; }
  void Close() override {
    if (readers > 0) misused = true;
    ++closes;
    m_start.Drop();
    m_open = false;
  }
  void SetTimelineStart(UINT position) override { m_start.Offer(position); }
  UINT GetTimelineStart() override { return m_start.Get(); }
  UINT GetFrameCount() override { return m_frames; }
  void SetMode(UINT mode, BOOL* changed) override {
    const UINT before = m_mode.exchange(mode);
    if (changed != nullptr) *changed = before != mode;
  }
  UINT GetMode() override { return m_mode; }
  void GetTrimInfo(IRkClipTrimInfo**) override {}
  void SetTrimInfo(IRkClipTrimInfo*) override {}

 private:
  BOOL Read(UINT offset, IRkAVPlaySample** sample) {
    ++readers;
    readGate.Pass();
    const BOOL result = ReadInside(offset, sample);
    --readers;
    return result;
  }
  BOOL ReadInside(UINT offset, IRkAVPlaySample** sample) {
    ++reads;
    if (!m_open) misused = true;
    if (offset >= m_frames || offset >= unreadableFrom) return FALSE;
    CRkRef<IRkAVPlaySample> made;
    if (!RkCreateAVPlaySample(made.Out())) return FALSE;
    made->SetPosition(m_start.Get() + offset + static_cast<UINT>(positionError.load()));
    made->SetAttachment(this);
    m_next = offset + 1;
    *sample = made.Detach();
    return TRUE;
  }

  const UINT m_frames;
  CRecord<UINT> m_seeks;
  std::atomic<bool> m_open = false;
  std::atomic<UINT> m_next = 0;
  CRkTimelineStart m_start;
  std::atomic<UINT> m_mode = 0;
};

// Records every sample's position and every reported interval. References the pool it receives, as hooks do.
class CFakeHook : public CFake<IRkClipSampleProcessor> {
 public:
  std::function<void(IRkAVPlaySample*)> onSample;

  void ProcessSample(IRkAVPlaySample* sample, IRkPlayBufferPool* pool) override {
    CRkRef<IRkPlayBufferPool>::Retain(pool);
    if (onSample) onSample(sample);
    m_positions.Add(sample->GetPosition());
  }
  void ReportSeekInterval(UINT seconds) override { m_intervals.Add(seconds); }
  std::vector<UINT> Positions() { return m_positions.All(); }
  std::vector<UINT> Intervals() { return m_intervals.All(); }

 private:
  CRecord<UINT> m_positions, m_intervals;
};

// Records the notifications in order ("free", "loading", "started", "ended") and may react.
class CFakeNotify : public CFake<IRkClipOutputChannelNotify> {
 public:
  std::atomic<bool> autoSwitch = true;
  std::atomic<int> autoSwitchAsked = 0;
  std::function<void(BOOL)> onFree;
  std::function<void(BOOL)> onEnd;

  void OnWaitingChannelFree(BOOL free) override {
    m_events.Add(free ? "free" : "loading");
    if (onFree) onFree(free);
  }
  void OnPlayEnd(BOOL ended) override {
    m_events.Add(ended ? "ended" : "started");
    if (onEnd) onEnd(ended);
  }
  BOOL IsAutoSwitch() override {
    ++autoSwitchAsked;
    return autoSwitch;
  }
  // The notifications since the last call.
  std::vector<std::string> Take() { return m_events.Take(); }

 private:
  CRecord<std::string> m_events;
};

inline CRkRef<IRkClipElementList> MakeList(const std::vector<CRkRef<CFakeElement>>& elements) {
  CRkRef<IRkClipElementList> list;
  RkCreateClipElementList(list.Out());
  for (UINT i = 0; i < elements.size(); ++i) list->InsertElement(i, elements[i].Get());
  return list;
}

inline constexpr SRkVideoResolution kTestVideo = {64, 36, RkPixelFormat_I420, 0, RkFrameRate_25, 1, 1, 0, 0};
inline constexpr SRkWaveFormatInfo kTestAudio = RkMakeWaveFormat(2, 48000, 16);
