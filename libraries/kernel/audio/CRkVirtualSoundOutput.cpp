#include "libraries/kernel/audio/CRkVirtualSoundOutput.h"

#include <algorithm>

#include "base/CRkHandle.h"
#include "base/RkMonotonicTime.h"

namespace {

constexpr DWORD kPeriodsPerSecond = 100;
constexpr int kTimeCritical = 15;

}  // namespace

SRkSoundPeriods::SRkSoundPeriods(DWORD framesPerSecond)
    : framesPerSecond(framesPerSecond), frames(std::max<DWORD>(framesPerSecond / kPeriodsPerSecond, 1)) {}

LONGLONG SRkSoundPeriods::Time(ULONGLONG number) const {
  const ULONGLONG before = number * frames;
  // Whole seconds first, so that no product overflows.
  const ULONGLONG seconds = before / framesPerSecond;
  const ULONGLONG rest = before % framesPerSecond;
  return static_cast<LONGLONG>(seconds * kRkNanosecondsPerSecond +
                               rest * kRkNanosecondsPerSecond / framesPerSecond);
}

CRkVirtualSoundOutput::~CRkVirtualSoundOutput() {
  if (m_thread) m_thread->Close(INFINITE);
}

bool CRkVirtualSoundOutput::Open(const SRkWaveFormatInfo& format, IRkSoundSource& source) {
  m_periods = SRkSoundPeriods(format.samplesPerSecond);
  m_source = &source;
  m_period.resize(static_cast<size_t>(m_periods.frames) * format.blockAlign);
  if (!RkCreateWorkerThread(kTimeCritical, m_thread.Out())) return false;
  m_thread->SetThreadProc(&_ThreadProc, this);
  m_thread->SetOption(TRUE);
  m_thread->Create();
  return true;
}

void CRkVirtualSoundOutput::Start() {
  m_thread->Start();
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
  const LONGLONG start = RkMonotonicNow();
  for (ULONGLONG number = 0;; ++number) {
    if (RkWait(stopEvent, RkMillisecondsUntil(start + m_periods.Time(number), RkMonotonicNow()))) return;
    m_source->Pull(m_period.data(), static_cast<DWORD>(m_period.size()));
  }
}
