#pragma once

#include <deque>
#include <optional>

#include "base/CRkCriticalSection.h"
#include "base/CRkHandle.h"

namespace rkplay {

// What the keys of the window and of the terminal ask for.
enum class Key {
  Help,
  Pause,  // or goes on
  FrameBack,
  FrameForward,
  SecondBack,
  SecondForward,
  First,
  Last,
  Take,         // the next list, at once
  TakeWhenDue,  // the next list, once the one on air may be left
  Repeat,       // on or off
  Quit,
};

extern const char kPlayKeysHelp[];
extern const char kPreviewKeysHelp[];

// Keys on their way to the thread that obeys them. Any thread puts them in; one takes them out.
class KeyQueue {
 public:
  void Put(Key key) {
    CRkScopedLock lock(m_lock);
    m_keys.push_back(key);
    SetEvent(m_changed);
  }

  std::optional<Key> Take() {
    CRkScopedLock lock(m_lock);
    if (m_keys.empty()) return std::nullopt;
    const Key key = m_keys.front();
    m_keys.pop_front();
    return key;
  }

  // Until a key has been put in, at most timeoutMs.
  void Wait(DWORD timeoutMs) const { RkWait(m_changed, timeoutMs); }

 private:
  const CRkHandle m_changed = CRkHandle::AutoResetEvent();
  CRkCriticalSection m_lock;
  std::deque<Key> m_keys RK_GUARDED_BY(m_lock);
};

// Net effect of all pending keys on what plays.
struct KeyWish {
  UINT position;       // to show, or to go on from
  bool isPaused;       // afterwards
  bool moves = false;  // to a position that a key named
  bool takes = false;  // the next list, now
  UINT takesWhenDue = 0;
  bool togglesRepeat = false;
  bool wantsHelp = false;
  bool quits = false;
};

// Empties the queue: a row of jumps moves once, to where the last one leads. `position` and `isPaused` are
// those of what plays; `frameCount` is its length, kRkNoPosition when it has no end.
KeyWish TakeWish(KeyQueue& keys, UINT position, bool isPaused, UINT frameCount, int frameRate);

}  // namespace rkplay
