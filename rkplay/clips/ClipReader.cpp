#include "rkplay/clips/ClipReader.h"

#include <atomic>
#include <chrono>
#include <system_error>

#include "base/CRkHandle.h"
#include "rkplay/system/ProcessorTime.h"

namespace rkplay {
namespace {

// A stopped or starved process loses one of these, not its patience.
constexpr DWORD kSliceMs = 50;

std::string WhyNotOpened(const std::string& path) {
  SRkMediaDescription description{};
  SRkMediaReason reason{};
  if (RkDescribeMedia(path.c_str(), &description, &reason)) return "it cannot be opened any longer";
  return reason.text;
}

}  // namespace

struct ClipReader::Shared {
  const std::string path;
  const CRkRef<IRkClipElement> clip;
  const CRkRef<ReadReport> report;
  Request request;
  Answer answer;
  std::atomic<bool> isOver = false;
  const CRkHandle asked = CRkHandle::AutoResetEvent();
  const CRkHandle answered = CRkHandle::AutoResetEvent();

  Answer Serve() {
    Answer served;
    switch (request.kind) {
      case Request::Kind::Open:
        clip->SetTimelineStart(request.timelineStart);
        served.succeeded = clip->Open(request.pool.Get(), 0, &request.format) != FALSE;
        if (!served.succeeded) served.fault = WhyNotOpened(path);
        break;
      case Request::Kind::Read:
        served.succeeded = clip->ReadSampleAt(request.offset, served.sample.Out()) && served.sample;
        served.fault = report->Take();
        break;
      case Request::Kind::Close:
        clip->Close();
        served.succeeded = true;
        break;
    }
    return served;
  }
};

ClipReader::ClipReader(std::string path, const CRkRef<IRkClipElement>& clip, const CRkRef<ReadReport>& report,
                       DWORD patienceMs)
    : m_patienceMs(patienceMs), m_shared(new Shared{std::move(path), clip, report, {}, {}}) {}

ClipReader::~ClipReader() {
  m_shared->isOver = true;
  SetEvent(m_shared->asked);
  if (!m_thread.joinable()) return;
  if (IsFree()) {
    m_thread.join();
  } else {
    m_thread.detach();
  }
}

bool ClipReader::IsFree() {
  if (m_isBusy && RkWait(m_shared->answered, 0)) m_isBusy = false;
  return !m_isBusy;
}

std::optional<ClipReader::Answer> ClipReader::Ask(const Request& request) {
  try {
    if (!m_thread.joinable()) m_thread = std::thread([shared = m_shared] { _Run(shared); });
  } catch (const std::system_error& error) {
    return Answer{false, {}, error.what()};
  }
  m_shared->request = request;
  m_isBusy = true;
  SetEvent(m_shared->asked);
  std::chrono::nanoseconds used = ProcessorTime(m_thread);
  for (DWORD idleMs = 0; idleMs < m_patienceMs; idleMs += kSliceMs) {
    if (RkWait(m_shared->answered, kSliceMs)) {
      m_isBusy = false;
      return std::exchange(m_shared->answer, {});
    }
    if (ProcessorTime(m_thread) != std::exchange(used, ProcessorTime(m_thread))) idleMs = 0;
  }
  return std::nullopt;
}

void ClipReader::_Run(const std::shared_ptr<Shared>& shared) {
  while (RkWait(shared->asked, INFINITE) && !shared->isOver) {
    shared->answer = shared->Serve();
    SetEvent(shared->answered);
  }
}

}  // namespace rkplay
