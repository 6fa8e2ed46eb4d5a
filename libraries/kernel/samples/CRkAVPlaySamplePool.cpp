#include "libraries/kernel/samples/CRkAVPlaySamplePool.h"

#include <new>

#include "base/RkCreateObject.h"
#include "base/RkWithinMemory.h"

CRkSamplePoolCore::CRkSamplePoolCore(UINT count) : m_count(count) {}

CRkSamplePoolCore::~CRkSamplePoolCore() {
  for (CRkVideoSample* const video : m_idleVideo) video->Release();
  for (CRkAVPlaySample* const sample : m_idlePlaySamples) sample->Release();
}

bool CRkSamplePoolCore::Create() {
  const LONG units = static_cast<LONG>(m_count);
  m_free = CRkHandle::Semaphore(units, units);
  // A sample that comes back always finds its place.
  return m_free && RkWithinMemory([this] {
           m_idleVideo.reserve(m_count);
           m_idlePlaySamples.reserve(m_count);
         });
}

template <class Sample>
Sample* CRkSamplePoolCore::_Take(std::vector<Sample*>& idle, DWORD timeoutMs) {
  if (!RkWait(m_free, timeoutMs)) return nullptr;
  Sample* sample = nullptr;
  {
    CRkScopedLock lock(m_lock);
    if (!idle.empty()) {
      sample = idle.back();
      idle.pop_back();
    }
  }
  if (sample == nullptr) sample = new (std::nothrow) Sample;
  if (sample == nullptr) {
    ReleaseSemaphore(m_free, 1, nullptr);
    return nullptr;
  }
  AddRef();  // for as long as the sample is out
  sample->AddRef();
  sample->SetOwner(this);
  return sample;
}

template <class Sample>
void CRkSamplePoolCore::_TakeBack(std::vector<Sample*>& idle, Sample* sample) {
  sample->Clear();
  {
    CRkScopedLock lock(m_lock);
    idle.push_back(sample);
  }
  ReleaseSemaphore(m_free, 1, nullptr);
  Release();
}

void CRkSamplePoolCore::GiveBack(IRkPoolElement* element) {
  _TakeBack(m_idleVideo, static_cast<CRkVideoSample*>(element));
}

void CRkSamplePoolCore::GiveBackPlaySample(IRkAVPlaySample* sample) {
  _TakeBack(m_idlePlaySamples, static_cast<CRkAVPlaySample*>(sample));
}

int RkCreateAVPlaySamplePool(UINT count, IRkAVPlaySamplePool** pool) {
  auto core = CRkRef<CRkSamplePoolCore>::Adopt(new (std::nothrow) CRkSamplePoolCore(count));
  if (!core || !core->Create()) return 0;
  return RkCreate<CRkAVPlaySamplePool>(pool, std::move(core));
}
