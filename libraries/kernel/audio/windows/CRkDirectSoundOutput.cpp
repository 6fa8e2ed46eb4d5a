#include "libraries/kernel/audio/windows/CRkDirectSoundOutput.h"

#include "libraries/kernel/audio/windows/CRkDirectSoundStream.h"

namespace {

constexpr int kTimeCritical = 15;
constexpr DWORD kOpenMs = 3000;
constexpr DWORD kCloseMs = 1000;
constexpr DWORD kHearOutMs = 300;
constexpr DWORD kLookMs = 20;  // for a device that notifies of nothing

}  // namespace

// A thread that hangs in the sound system still owns its share; what it finds here pulls nothing.
CRkDirectSoundOutput::~CRkDirectSoundOutput() {
  _SetPulling(false);
  if (m_thread) m_thread->Close(kCloseMs);
}

bool CRkDirectSoundOutput::Open(const SRkWaveFormatInfo& format, IRkSoundSource& source) {
  m_shared->format = format;
  m_shared->window = m_window;
  {
    CRkScopedLock lock(m_shared->lock);
    m_shared->source = &source;
  }
  if (!m_shared->opened || !m_shared->changed) return false;
  if (!RkCreateWorkerThread(kTimeCritical, m_thread.Out())) return false;
  // The share that the routine takes over.
  auto* const share = new std::shared_ptr<SShared>(m_shared);
  m_thread->SetThreadProc(&_ThreadProc, share);
  m_thread->SetOption(TRUE);
  m_thread->Create();
  m_thread->Start();
  return RkWait(m_shared->opened, kOpenMs) && m_shared->isOpen;
}

void CRkDirectSoundOutput::Start() {
  _SetPulling(true);
}

void CRkDirectSoundOutput::Stop() {
  _SetPulling(false);
}

void CRkDirectSoundOutput::_SetPulling(bool pulling) {
  {
    CRkScopedLock lock(m_shared->lock);
    m_shared->pulling = pulling;
  }
  SetEvent(m_shared->changed);
}

bool CRkDirectSoundOutput::SShared::IsPulling() {
  CRkScopedLock scope(lock);
  return pulling;
}

bool CRkDirectSoundOutput::SShared::Pull(std::vector<BYTE>& period) {
  CRkScopedLock scope(lock);
  if (pulling) source->Pull(period.data(), static_cast<DWORD>(period.size()));
  return pulling;
}

UINT CRkDirectSoundOutput::_ThreadProc(void* context, HANDLE stopEvent) {
  const std::unique_ptr<std::shared_ptr<SShared>> share(static_cast<std::shared_ptr<SShared>*>(context));
  SetThreadDescription(GetCurrentThread(), L"RkDirectSound");
  _Run(**share, stopEvent);
  return 0;
}

void CRkDirectSoundOutput::_Run(SShared& shared, HANDLE stopEvent) {
  CRkDirectSoundStream stream;
  shared.isOpen = stream.Open(shared.format, shared.window, shared.changed);
  shared.latencyFrames = stream.LatencyBytes() / shared.format.blockAlign;
  SetEvent(shared.opened);
  if (!shared.isOpen) return;

  std::vector<BYTE> period(stream.PeriodBytes());
  ULONGLONG soundEnd = 0;  // the stream's position at which the last sound pulled has been heard
  const HANDLE objects[] = {stopEvent, shared.changed};
  DWORD lookMs = INFINITE;
  while (WaitForMultipleObjects(2, objects, FALSE, lookMs) != WAIT_OBJECT_0) {
    const bool pulling = shared.IsPulling();
    const bool starts = pulling && !stream.IsPlaying();
    if (starts) soundEnd = 0;
    shared.lost = !(starts ? stream.Play() : stream.Follow());
    if (shared.lost) return;
    while (stream.IsPeriodDue()) {
      const bool sound = shared.Pull(period);
      stream.WritePeriod(sound ? period.data() : nullptr);
      // A buffer that stops loses what lies between its play cursor and the card.
      if (sound) soundEnd = stream.Written() + 2 * stream.LatencyBytes();
    }
    if (!pulling && stream.IsPlaying() && stream.Played() >= soundEnd) stream.Stop();
    lookMs = pulling || stream.IsPlaying() ? kLookMs : INFINITE;
  }
  const ULONGLONG deadline = GetTickCount64() + kHearOutMs;
  while (stream.IsPlaying() && stream.Played() < soundEnd && GetTickCount64() < deadline) {
    RkWait(shared.changed, kLookMs);
    if (!stream.Follow()) return;
  }
}
