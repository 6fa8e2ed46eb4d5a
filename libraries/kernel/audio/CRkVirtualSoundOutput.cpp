#include "libraries/kernel/audio/CRkVirtualSoundOutput.h"

#include <algorithm>

#include "base/CRkHandle.h"
#include "base/RkExactTime.h"
#include "base/RkMonotonicTime.h"

namespace {

constexpr double kPeriodMs = 10.0;
constexpr double kPlentyMs = 100.0;
constexpr LONGLONG kLongestDelayNs = 40'000'000;  // less than the sound that a device keeps written ahead
constexpr int kTimeCritical = 15;

}  // namespace

CRkSoundPeriods::CRkSoundPeriods(DWORD framesPerSecond, double periodMs)
    : m_framesPerSecond(framesPerSecond),
      m_frames(std::max(static_cast<DWORD>(framesPerSecond * periodMs / 1000.0), DWORD{1})) {}

void CRkSoundPeriods::Start(LONGLONG now) {
  m_start = now;
  m_number = 0;
}

void CRkSoundPeriods::Take(LONGLONG now) {
  const LONGLONG delay = now - Due();
  if (delay > kLongestDelayNs) m_start += delay;
  ++m_number;
}

LONGLONG CRkSoundPeriods::_Time(ULONGLONG number) const {
  return RkTimeOf(number * m_frames, {m_framesPerSecond, 1}).count();
}

CRkVirtualSoundOutput::CRkVirtualSoundOutput(double writtenAheadMs)
    : m_periodMs(writtenAheadMs >= kPlentyMs ? 2 * kPeriodMs : kPeriodMs) {}

CRkVirtualSoundOutput::~CRkVirtualSoundOutput() {
  if (m_thread) m_thread->Close(INFINITE);
}

bool CRkVirtualSoundOutput::Open(const SRkWaveFormatInfo& format, IRkSoundSource& source) {
  m_framesPerSecond = format.samplesPerSecond;
  m_blockAlign = format.blockAlign;
  m_source = &source;
  if (!RkCreateWorkerThread(kTimeCritical, m_thread.Out())) return false;
  m_thread->SetThreadProc(&_ThreadProc, this);
  m_thread->SetOption(TRUE);
  m_thread->Create();
  return true;
}

void CRkVirtualSoundOutput::Stop() {
  m_thread->RequestStop();
  m_thread->WaitForStop(INFINITE);
}

UINT CRkVirtualSoundOutput::_ThreadProc(void* context, HANDLE stopEvent) {
  SetThreadDescription(GetCurrentThread(), L"RkVirtualSound");
  static_cast<CRkVirtualSoundOutput*>(context)->_Run(stopEvent);
  return 0;
}

void CRkVirtualSoundOutput::_Run(HANDLE stopEvent) {
  CRkSoundPeriods periods(m_framesPerSecond, m_periodMs);
  m_period.resize(static_cast<size_t>(periods.Frames()) * m_blockAlign);
  periods.Start(RkMonotonicNow());
  while (!RkWait(stopEvent, RkMillisecondsUntil(periods.Due(), RkMonotonicNow()))) {
    periods.Take(RkMonotonicNow());
    m_source->Pull(m_period.data(), static_cast<DWORD>(m_period.size()));
  }
}
