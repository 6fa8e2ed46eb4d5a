#pragma once

#include <array>
#include <deque>
#include <optional>
#include <string>
#include <vector>

#include "output_channel/IRkClipOutputChannel.h"
#include "tests/model/ModelList.h"

// The answer that an operation must give.
struct SAnswer {
  BOOL result = TRUE;
  std::vector<std::string> events = {};  // as CFakeNotify writes them down
  UINT status = 0;                       // of SwitchChannel
  bool asksSink = false;
  bool answersTaker = false;
  bool stopsOld = false;                    // the list on air is cut off
  std::vector<std::wstring> messages = {};  // that SwitchChannel logs
};

// Predicts what an output channel does, from its rules alone: without a thread, a cache or a lock. Every
// operation takes the same step in the model. One thread at a time.
class COracle {
 public:
  explicit COracle(UINT cacheCapacity) : m_readAhead(cacheCapacity + 1) {}

  SAnswer Play();
  SAnswer Stop();
  SAnswer Switch(bool autoSwitch);
  SAnswer SwitchAtOnce();
  void Request() { m_requested = true; }
  UINT SwitchPosition() const { return m_switchPosition; }

  SAnswer LoadNothing() const { return {FALSE}; }
  SAnswer Load(const SModelList& list, bool elementComesTwice);
  SAnswer Delete();

  void SetRepeatCount(int repeatCount);
  // Whether a sample comes, and whether this one may; it is then taken.
  bool GivesSample() const;
  bool Take(const SModelFrame& frame);
  UINT Position() const { return _Playing().position; }
  // The lists whose elements a worker tries again and again, in vain.
  std::vector<const SModelList*> EmptyLists() const;

  UINT Mode(bool ofPlaying) const {
    const SSource& source = ofPlaying ? _Playing() : _Waiting();
    return source.list ? source.mode : 0;
  }
  // A worker that can open no element answers no pause.
  bool AnswersPause() const { return !_Playing().started || !_Playing().list->frames.empty(); }
  bool IsPaused() const { return _Playing().paused; }
  void BeginSeek(UINT mode);
  void EndSeek() { _Playing().paused = false; }
  // A frame that a Seek is sure to bring now, or none.
  const SModelFrame* Seekable(UINT choice) const;
  void Seek(const SModelFrame& frame);
  const SModelList* OnAir() const { return _Playing().list ? &*_Playing().list : nullptr; }
  UINT Total() const { return _Playing().list ? _Playing().list->total : 0; }
  // Whether it can be told which element a move would meet: the only one, opened for sure.
  bool CanMove() const { return _Playing().delivered && _Playing().list->elements.size() == 1; }
  void SetElementMode(UINT mode, UINT position);

 private:
  struct SSource {
    std::optional<SModelList> list = {};
    bool started = false;
    bool delivered = false;  // a sample of this run
    UINT status = RkStopped;
    UINT position = 0;
    int repeatCount = 1;
    int passes = 0;
    UINT mode = 0;
    size_t next = 0;   // of the list's frames
    UINT skipped = 0;  // so many frames may have been read and thrown away by pauses
    bool paused = false;
    std::deque<SModelFrame> sought = {};
  };
  enum : UINT { RkStopped = 1, RkPlaying = 2 };

  SSource& _Playing() { return m_sources[m_playing]; }
  const SSource& _Playing() const { return m_sources[m_playing]; }
  SSource& _Waiting() { return m_sources[1 - m_playing]; }
  const SSource& _Waiting() const { return m_sources[1 - m_playing]; }
  void _Exchange() { m_playing = 1 - m_playing; }
  void _EndEmptyLists();

  const UINT m_readAhead;
  std::array<SSource, 2> m_sources;
  size_t m_playing = 0;
  bool m_requested = false;
  UINT m_switchPosition = 0;
};
