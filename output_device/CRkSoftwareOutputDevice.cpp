#include "output_device/CRkSoftwareOutputDevice.h"

#include <algorithm>

#include "output_device/CRkAudioPacing.h"
#include "output_device/CRkClockPacing.h"
#include "output_device/CRkVideoPresenter.h"

namespace {

constexpr int kWorkerPriority = THREAD_PRIORITY_TIME_CRITICAL;
constexpr int kMinLead = 1;
constexpr int kMaxLead = 5;
constexpr double kRendererBufferMs = 1000.0;
constexpr double kNotifyIntervalMs = 1000.0 / 62;
constexpr DWORD kStopTimeoutMs = 5000;
constexpr DWORD kCloseTimeoutMs = 2000;
constexpr UINT kPlaneBuffers = 4;
constexpr int kMostQueued = 0x3FFFFFFF;  // twice as many still fit a semaphore

}  // namespace

// Both threads are asked to end before either is waited for, so that neither waits for the other.
CRkSoftwareOutputDevice::~CRkSoftwareOutputDevice() {
  m_heldElement.Reset();
  for (const auto* thread : {&m_audioThread, &m_videoThread}) {
    if (*thread) (*thread)->RequestStop();
  }
  for (const auto* thread : {&m_audioThread, &m_videoThread}) {
    if (*thread) (*thread)->Close(kCloseTimeoutMs);
  }
}

BOOL CRkSoftwareOutputDevice::_Initialize(const SRkVideoResolution& resolution,
                                          const SRkWaveFormatInfo& format, HWND window, int queueDepth) {
  if (!RkIsFrameRate(resolution.frameRate) || queueDepth < 1 || queueDepth > kMostQueued) return FALSE;
  m_frameRate = resolution.frameRate;
  if (!_CreateRenderer(format, window, queueDepth)) return FALSE;
  const UINT poolSize = static_cast<UINT>(queueDepth) + 1;
  return RkCreateAVPlaySamplePool(poolSize, m_samplePool.Out()) && _CreateQueues(queueDepth) &&
         _CreateEvents() && _CreateThread(m_audioThread, &_ClockThreadProc) &&
         _CreateThread(m_videoThread, &_VideoThreadProc);
}

// The renderer for 16-bit stereo, or the soft clock where there is none.
BOOL CRkSoftwareOutputDevice::_CreateRenderer(const SRkWaveFormatInfo& format, HWND window, int queueDepth) {
  m_outputFormat = format;
  const int sourceChannels = std::max(format.channels, 2);
  if (format.channels > 0) {
    m_outputFormat = RkMakeWaveFormat(2, format.samplesPerSecond, 16);
    m_outputFormat.formatType = format.formatType;
    m_audioLead = std::clamp(queueDepth - 1, kMinLead, kMaxLead);
    const DWORD startBytes =
        RkAudioUtils::GetAudioBufferSize(m_outputFormat, m_audioLead * RkFrameDurationMs(m_frameRate));
    RkCreateAudioDirectSound(m_outputFormat, window, kRendererBufferMs, startBytes, m_audioRenderer.Out());
  }
  if (!m_audioRenderer) return RkCreateSoftRefClock(m_clock.Out());
  m_audioRenderer->SetNotifyInterval(kNotifyIntervalMs);
  return m_audioBuilder.Configure(m_outputFormat, sourceChannels, static_cast<ERkFrameRate>(m_frameRate));
}

// With audio the pictures of all frames that are due, written ahead or queued may wait.
BOOL CRkSoftwareOutputDevice::_CreateQueues(int queueDepth) {
  const int waiting = m_audioRenderer ? std::max(2 * queueDepth, queueDepth + m_audioLead + 1) : queueDepth;
  return m_audioQueue.Create(queueDepth) && m_videoQueue.Create(waiting);
}

BOOL CRkSoftwareOutputDevice::_CreateEvents() {
  m_stopEvent = CRkHandle::ManualResetEvent();
  m_audioDoneEvent = CRkHandle::ManualResetEvent();
  m_videoDoneEvent = CRkHandle::ManualResetEvent();
  return m_shownFrame.Create() && m_stopEvent && m_audioDoneEvent && m_videoDoneEvent;
}

BOOL CRkSoftwareOutputDevice::_CreateThread(CRkRef<IRkWorkerThread>& thread, RkThreadProc proc) {
  if (!RkCreateWorkerThread(kWorkerPriority, thread.Out())) return FALSE;
  thread->SetThreadProc(proc, this);
  thread->SetOption(TRUE);
  thread->Create();
  return TRUE;
}

BOOL CRkSoftwareOutputDevice::SetOutputCallback(IRkSoftwareOutputCallback* callback) {
  m_callback.Set(CRkRef<IRkSoftwareOutputCallback>::Retain(callback));
  return callback != nullptr ? TRUE : FALSE;
}

void CRkSoftwareOutputDevice::RemoveOutputCallback() {
  m_callback.Set({});
}

BOOL CRkSoftwareOutputDevice::Play() {
  if (m_playing) return TRUE;
  m_shownFrame.ClearSubmitted();
  if (const auto callback = m_callback.Get()) callback->OnPlay();
  if (m_audioRenderer) m_audioRenderer->Reset();
  if (m_clock) m_clock->Start(RkFramesPerSecond(m_frameRate));
  m_shownFrame.Reset();
  for (const HANDLE event : {HANDLE(m_stopEvent), HANDLE(m_audioDoneEvent), HANDLE(m_videoDoneEvent)}) {
    ResetEvent(event);
  }
  m_audioThread->Start();
  m_videoThread->Start();
  if (m_audioRenderer) {
    CRkRef<IRkAVPlaySample> held;
    m_samplePool->GetAVPlaySample(0, held.Out());
    m_heldElement = CRkRef<IRkUnknown>::Adopt(held.Detach());
  } else {
    CRkRef<IRkVideoSample> held;
    m_samplePool->GetVideoSample(0, held.Out());
    m_heldElement = CRkRef<IRkUnknown>::Adopt(held.Detach());
  }
  m_playing = TRUE;
  return TRUE;
}

BOOL CRkSoftwareOutputDevice::Stop(BOOL clearVideo) {
  if (!m_playing) return TRUE;
  m_markerIsNewest = false;
  m_heldElement.Reset();
  ResetEvent(m_audioDoneEvent);
  ResetEvent(m_videoDoneEvent);
  SetEvent(m_stopEvent);
  const HANDLE done[] = {m_audioDoneEvent, m_videoDoneEvent};
  WaitForMultipleObjects(2, done, TRUE, kStopTimeoutMs);
  _StopThread(*m_audioThread);
  _StopThread(*m_videoThread);
  if (m_clock) m_clock->Stop();
  m_shownFrame.ClearSubmitted();
  m_shownFrame.Reset();
  m_playing = FALSE;
  if (clearVideo) {
    if (const auto callback = m_callback.Get()) callback->OnVideoSample(nullptr);
  }
  if (const auto callback = m_callback.Get()) callback->OnStop();
  if (m_audioRenderer) m_audioRenderer->Stop();
  m_audioQueue.Flush();
  m_videoQueue.Flush();
  return TRUE;
}

void CRkSoftwareOutputDevice::_StopThread(IRkWorkerThread& thread) {
  if (thread.IsIdle()) return;
  thread.RequestStop();
  thread.WaitForStop(kStopTimeoutMs);
}

BOOL CRkSoftwareOutputDevice::PutSample(IRkAVPlaySample* sample) {
  if (sample == nullptr) return FALSE;
  if (!m_playing) {
    _ShowWhileStopped(*sample);
  } else {
    return m_audioRenderer ? _PutWithAudio(*sample) : _PutPicture(*sample);
  }
  return TRUE;
}

void CRkSoftwareOutputDevice::_ShowWhileStopped(IRkAVPlaySample& sample) {
  const auto callback = m_callback.Get();
  if (!callback) return;
  CRkRef<IRkVideoSample> video;
  sample.GetVideoSample(video.Out());
  if (video) callback->OnVideoSample(video.Get());
}

// The wait for a free pool sample holds the host to playing speed.
BOOL CRkSoftwareOutputDevice::_PutWithAudio(IRkAVPlaySample& sample) {
  const UINT frame = m_shownFrame.Submitted();
  CRkRef<IRkAVPlaySample> copy;
  m_samplePool->GetAVPlaySample(INFINITE, copy.Out());
  if (!copy) return FALSE;
  sample.CopyTo(copy.Get());
  copy->SetPosition(frame);
  _Push(m_audioQueue, copy.Get());
  _QueueVideoOf(*copy, frame);
  copy.Reset();
  m_shownFrame.CountSubmitted();
  return TRUE;
}

// Consecutive samples without video queue one marker.
void CRkSoftwareOutputDevice::_QueueVideoOf(IRkAVPlaySample& copy, UINT frame) {
  CRkRef<IRkVideoSample> video;
  copy.GetVideoSample(video.Out());
  if (video) {
    video->SetFrameIndex(frame);
    _Push(m_videoQueue, video.Get());
  } else if (!m_markerIsNewest) {
    _Push(m_videoQueue, &m_marker);
  }
  m_markerIsNewest = !video;
}

BOOL CRkSoftwareOutputDevice::_PutPicture(IRkAVPlaySample& sample) {
  CRkRef<IRkVideoSample> source;
  sample.GetVideoSample(source.Out());
  if (source) {
    CRkRef<IRkVideoSample> shared;
    m_samplePool->GetVideoSample(INFINITE, shared.Out());
    if (!shared) return FALSE;
    for (UINT i = 0; i < kPlaneBuffers; ++i) {
      CRkRef<IRkUnknown> plane;
      source->GetBuffer(i, plane.Out());
      shared->SetBuffer(i, plane.Get());
    }
    shared->SetFrameIndex(m_shownFrame.Submitted());
    _Push(m_videoQueue, shared.Get());
  }
  m_shownFrame.CountSubmitted();
  return TRUE;
}

void CRkSoftwareOutputDevice::_Push(CRkSampleQueue& queue, IRkUnknown* item) {
  CRkRef<IRkUnknown> dropped;
  queue.Push(item, dropped.Out());
}

UINT CRkSoftwareOutputDevice::_ClockThreadProc(void* context, HANDLE exitEvent) {
  SetThreadDescription(GetCurrentThread(), L"RkDevicePacing");
  auto& device = *static_cast<CRkSoftwareOutputDevice*>(context);
  const SRkPacingEvents events = {exitEvent, device.m_stopEvent, device.m_videoDoneEvent,
                                  device.m_audioDoneEvent};
  if (device.m_audioRenderer) {
    CRkAudioPacing(device.m_shownFrame, events, *device.m_audioRenderer, device.m_audioBuilder,
                   device.m_audioQueue, device.m_callback, RkFrameDurationMs(device.m_frameRate),
                   device.m_audioLead)
        .Run();
  } else {
    CRkClockPacing(device.m_shownFrame, events, *device.m_clock).Run();
  }
  return 0;
}

UINT CRkSoftwareOutputDevice::_VideoThreadProc(void* context, HANDLE exitEvent) {
  SetThreadDescription(GetCurrentThread(), L"RkDeviceVideo");
  auto& device = *static_cast<CRkSoftwareOutputDevice*>(context);
  CRkVideoPresenter(device.m_videoQueue, device.m_shownFrame, device.m_callback, &device.m_marker)
      .Run(exitEvent, device.m_stopEvent, device.m_videoDoneEvent);
  return 0;
}
