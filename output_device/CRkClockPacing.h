#pragma once

#include "contracts/RkKernel.h"
#include "output_device/CRkPacing.h"

// Pacing without audio: every tick of the soft clock is one frame. At the end of play nothing is played
// out.
class CRkClockPacing final : public CRkPacing {
 public:
  CRkClockPacing(CRkShownFrame& shownFrame, const SRkPacingEvents& events, IRkSoftRefClock& clock)
      : CRkPacing(shownFrame, events), m_clock(clock) {}

  // Every return of the wait counts as a tick.
  void Pass() override {
    m_clock.WaitTick(kTickTimeoutMs);
    m_shownFrame.AdvanceByOne();
  }

 private:
  static constexpr UINT kTickTimeoutMs = 100;
  IRkSoftRefClock& m_clock;
};
