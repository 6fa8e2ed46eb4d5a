#include "output_device/CRkVideoPresenter.h"

namespace {

constexpr DWORD kTakeTimeoutMs = 1;
constexpr DWORD kDrainPauseMs = 1;

}  // namespace

void CRkVideoPresenter::Run(HANDLE exitEvent, HANDLE stopEvent, HANDLE doneEvent) {
  const HANDLE awaited[] = {exitEvent, m_shownFrame.Event(), stopEvent};
  for (;;) {
    switch (WaitForMultipleObjects(3, awaited, FALSE, INFINITE)) {
      case WAIT_OBJECT_0 + 1:
        FramePass();
        break;
      case WAIT_OBJECT_0 + 2:
        if (m_queue.Count() == 0) {
          SetEvent(doneEvent);
          return;
        }
        // Early frames are shown again until their turn has come.
        if (RkWait(exitEvent, kDrainPauseMs)) return;
        SetEvent(m_shownFrame.Event());
        break;
      default:  // exitEvent, or WAIT_FAILED, which would repeat without end
        return;
    }
  }
}

void CRkVideoPresenter::FramePass() {
  const UINT due = m_shownFrame.Get();
  if (m_current && m_current->GetFrameIndex() < due) m_current.Reset();
  if (!m_current && !_TakeFrames(due)) return;
  if (!m_current) return;
  _Show(m_current.Get());
  if (m_current->GetFrameIndex() == due) m_current.Reset();
}

// Up to the first frame that is not late. False at the marker: the pass then ends with nothing held.
bool CRkVideoPresenter::_TakeFrames(UINT due) {
  CRkRef<IRkVideoSample> passedOver;
  while (auto item = m_queue.Pop(kTakeTimeoutMs)) {
    if (item.Get() == m_marker) {
      _Show(nullptr);
      return false;
    }
    auto frame = CRkRef<IRkVideoSample>::Adopt(static_cast<IRkVideoSample*>(item.Detach()));
    if (frame->GetFrameIndex() >= due) {
      m_current = std::move(frame);
      return true;
    }
    passedOver = std::move(frame);
  }
  m_current = std::move(passedOver);
  return true;
}

void CRkVideoPresenter::_Show(IRkVideoSample* video) {
  if (const auto callback = m_callback.Get()) callback->OnVideoSample(video);
}
