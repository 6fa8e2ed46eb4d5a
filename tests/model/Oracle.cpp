#include "tests/model/Oracle.h"

#include <algorithm>

namespace {

enum EYes { No, Yes, Either };
enum EChange { Keep, StopOld, EmptyOld };

constexpr wchar_t kRequest[] = L"CRkClipOutputChannel::SwitchChannel: has a switch request!\n";
constexpr wchar_t kAtOnce[] =
    L"CRkClipOutputChannel::SwitchChannel: Will success to switch Playing channel and Waiting channel at "
    L"once!\n";
constexpr wchar_t kNothing[] =
    L"CRkClipOutputChannel::SwitchChannel Error: the Waiting Channel does not exist!!!!\n";
constexpr wchar_t kStopped[] = L"CRkClipOutputChannel::SwitchChannel: the Playing channel has stopped now!\n";
constexpr wchar_t kNext[] =
    L"CRkClipOutputChannel::SwitchChannel. The Waiting channel is not empty, so to switch Playing channel "
    L"and Waiting channel!\n";
constexpr wchar_t kEnd[] =
    L"CRkClipOutputChannel::SwitchChannel. The Waiting channel is empty, so to end the playback!\n";

struct SSwitchRow {
  UINT playing;     // the Playing channel's status
  EYes autoSwitch;  // what the sink answers
  EYes request, waiting;
  EChange change;
  UINT status;
  BOOL result;
  const char* event;
  bool answersTaker;
  const wchar_t* messages[2] = {};
};

constexpr SSwitchRow kSwitchTable[] = {
    {2, Either, No, Either, Keep, 2, TRUE, nullptr, false},
    {2, Either, Yes, Yes, StopOld, 4, TRUE, "free", true, {kRequest, kAtOnce}},
    {2, Either, Yes, No, Keep, 2, FALSE, nullptr, true, {kRequest, kNothing}},
    {1, No, No, Either, Keep, 5, TRUE, nullptr, false, {kStopped}},
    {1, No, Yes, Yes, EmptyOld, 4, TRUE, "free", true, {kStopped, kNext}},
    {1, No, Yes, No, Keep, 1, FALSE, "ended", true, {kStopped, kEnd}},
    {1, Yes, Either, Yes, EmptyOld, 4, TRUE, "free", false, {kStopped, kNext}},
    {1, Yes, Either, No, Keep, 1, FALSE, "ended", false, {kStopped, kEnd}},
};

bool Fits(EYes wanted, bool is) {
  return wanted == Either || (wanted == Yes) == is;
}

int ValidRepeatCount(int repeatCount) {
  return repeatCount == kRkRepeatEndless ? kRkRepeatEndless : std::max(repeatCount, 1);
}

}  // namespace

// ---- switching

SAnswer COracle::Switch(bool autoSwitch) {
  const UINT playing = _Playing().status;
  const auto row = std::find_if(std::begin(kSwitchTable), std::end(kSwitchTable), [&](const auto& candidate) {
    return candidate.playing == playing && Fits(candidate.autoSwitch, autoSwitch) &&
           Fits(candidate.request, m_requested) && Fits(candidate.waiting, _Waiting().list.has_value());
  });
  if (row->answersTaker) {
    m_requested = false;
    m_switchPosition = Position();
  }
  if (row->change != Keep) _Exchange();
  if (row->change == StopOld) _Waiting() = {};
  if (row->change == EmptyOld) _Waiting().list.reset();
  SAnswer answer = {row->result,           {}, row->status, playing == RkStopped, row->answersTaker,
                    row->change == StopOld};
  if (row->event != nullptr) answer.events = {row->event};
  for (const wchar_t* message : row->messages) {
    if (message != nullptr) answer.messages.emplace_back(message);
  }
  return answer;
}

SAnswer COracle::SwitchAtOnce() {
  if (!_Waiting().list) return {FALSE};
  _Exchange();
  _Waiting() = {};
  return {TRUE, {"free"}, 0, false, false, true};
}

// ---- play and stop

SAnswer COracle::Play() {
  if (_Playing().list) return {TRUE, {"started"}};
  if (!_Waiting().list) return {FALSE};
  _Exchange();
  return {TRUE, {"free", "started"}};
}

SAnswer COracle::Stop() {
  m_sources = {};
  return {TRUE, {"free", "ended"}};
}

void COracle::SetRepeatCount(int repeatCount) {
  for (auto& source : m_sources) source.repeatCount = ValidRepeatCount(repeatCount);
  _EndEmptyLists();
}

std::vector<const SModelList*> COracle::EmptyLists() const {
  std::vector<const SModelList*> lists;
  for (const auto& source : m_sources) {
    if (source.started && source.list && source.list->frames.empty()) lists.push_back(&*source.list);
  }
  return lists;
}

// A list of which nothing can be read ends without a sample, unless it is endless.
void COracle::_EndEmptyLists() {
  for (auto& source : m_sources) {
    const bool gives = !source.started || !source.list || !source.list->frames.empty();
    if (!gives && source.repeatCount != kRkRepeatEndless) source.status = RkStopped;
  }
}

// ---- editing

SAnswer COracle::Load(const SModelList& list, bool elementComesTwice) {
  _Waiting() = {};
  if (!elementComesTwice && list.start >= list.total) return {FALSE, {"loading", "free"}};
  _Waiting().list = list;
  if (elementComesTwice) return {FALSE, {"loading", "free"}};
  _Waiting().started = true;
  _Waiting().status = RkPlaying;
  _Waiting().position = list.start;
  _Waiting().repeatCount = ValidRepeatCount(list.repeatCount);
  _Waiting().next = list.First();
  _EndEmptyLists();
  return {TRUE, {"loading"}};
}

SAnswer COracle::Delete() {
  _Waiting() = {};
  return {TRUE, {"free"}};
}

// ---- delivery

bool COracle::GivesSample() const {
  const SSource& playing = _Playing();
  if (!playing.started) return false;
  return !playing.sought.empty() || (!playing.paused && !playing.list->frames.empty());
}

// A pass counts when its end is taken, and the end of the last one stops the channel until more is taken.
bool COracle::Take(const SModelFrame& frame) {
  SSource& playing = _Playing();
  const bool sought = !playing.sought.empty();
  if (sought) {
    if (!(playing.sought.front() == frame)) return false;
    playing.sought.pop_front();
  } else {
    const auto& frames = playing.list->frames;
    UINT skipped = 0;
    for (; !(frames[playing.next] == frame); playing.next = (playing.next + 1) % frames.size()) {
      if (skipped++ == playing.skipped) return false;
    }
    playing.next = (playing.next + 1) % frames.size();
    playing.skipped = 0;
  }
  playing.delivered = true;
  playing.position = frame.position;
  const bool end = playing.list->EndsWith(frame) && (!sought || playing.list->MarksItsEnd());
  const bool endless = playing.repeatCount == kRkRepeatEndless;
  if (end && !sought && !endless && playing.passes < playing.repeatCount) ++playing.passes;
  playing.status = end && !endless && playing.passes >= playing.repeatCount ? RkStopped : RkPlaying;
  return true;
}

// ---- seeking

void COracle::BeginSeek(UINT mode) {
  SSource& playing = _Playing();
  if (playing.list) playing.mode = mode;
  playing.sought.clear();
  if (!playing.paused) playing.skipped += m_readAhead;
  playing.paused = true;
}

const SModelFrame* COracle::Seekable(UINT choice) const {
  const SSource& playing = _Playing();
  const bool roomLeft = playing.sought.size() + 2 < m_readAhead;
  if (!playing.started || !playing.paused || !roomLeft) return nullptr;
  return &playing.list->frames[choice % playing.list->frames.size()];
}

void COracle::Seek(const SModelFrame& frame) {
  SSource& playing = _Playing();
  const auto& frames = playing.list->frames;
  playing.sought.push_back(frame);
  playing.next = static_cast<size_t>(std::find(frames.begin(), frames.end(), frame) - frames.begin() + 1);
  playing.next %= frames.size();
  playing.skipped = 0;
}

void COracle::SetElementMode(UINT mode, UINT position) {
  SSource& playing = _Playing();
  const bool moves = playing.list && playing.started && (mode != playing.mode || position != kRkNoPosition);
  playing.mode = mode;
  if (!moves) return;
  const UINT offset = position == kRkNoPosition ? 0 : position;
  playing.next = offset < playing.list->frames.size() ? offset : 0;
  playing.skipped = 0;
  playing.paused = false;
  playing.sought.clear();
}
