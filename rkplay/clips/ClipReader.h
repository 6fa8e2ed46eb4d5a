#pragma once

#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <utility>

#include "base/CRkRef.h"
#include "base/CRkUnknown.h"
#include "contracts/RkClipCore.h"
#include "contracts/RkHost.h"
#include "contracts/RkKernel.h"
#include "contracts/RkMediaElement.h"

namespace rkplay {

// Hears what one element could not read. On the thread that reads, so without a lock.
class ReadReport final : public CRkUnknown<IRkMediaReadSink> {
 public:
  void OnFrameSubstituted(UINT offset, const char* reason) override {
    (void)offset;
    m_reason = reason;
  }
  // Empty when nothing was reported since the last call.
  std::string Take() { return std::exchange(m_reason, {}); }

 private:
  ~ReadReport() override = default;

  std::string m_reason;
};

// Makes the calls of one media element on a thread of its own, so that a call that hangs holds up nobody.
//
// One thread at a time asks, and waits as long as the call gets anywhere. A call that hangs keeps its thread
// and the element, and outlives the reader if it must. The thread exists from the first request on. Request
// and answer belong to one side at a time; two events hand them over.
class ClipReader {
 public:
  struct Request {
    enum class Kind { Open, Read, Close } kind = Kind::Close;
    UINT offset = 0;                 // Read
    UINT timelineStart = 0;          // Open
    SRkClipFormat format{};          // Open
    CRkRef<IRkPlayBufferPool> pool;  // Open
  };
  struct Answer {
    bool succeeded = false;
    CRkRef<IRkAVPlaySample> sample;  // Read
    std::string fault;               // why the call failed, or why the sample is not the frame asked for
  };

  // `report` is the sink that the element was created with. `patienceMs`: for how long a call may use no
  // processor time before it counts as hanging.
  ClipReader(std::string path, const CRkRef<IRkClipElement>& clip, const CRkRef<ReadReport>& report,
             DWORD patienceMs);
  ~ClipReader();
  ClipReader(const ClipReader&) = delete;
  ClipReader& operator=(const ClipReader&) = delete;

  // False while an earlier call hangs.
  bool IsFree();
  // Only while free. Nothing when the call hangs, whose answer is lost.
  std::optional<Answer> Ask(const Request& request);

 private:
  struct Shared;

  static void _Run(const std::shared_ptr<Shared>& shared);

  const DWORD m_patienceMs;
  const std::shared_ptr<Shared> m_shared;  // with the thread
  bool m_isBusy = false;
  std::thread m_thread;
};

}  // namespace rkplay
