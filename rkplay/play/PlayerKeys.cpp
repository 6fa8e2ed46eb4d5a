// What the player does at the keys' wish.

#include <algorithm>

#include "rkplay/cli/FrameRate.h"
#include "rkplay/play/Player.h"

namespace rkplay {

// The keys that wait are taken together, so that a row of jumps moves once, to where the last one leads.
bool Player::_ObeyKeys() {
  const Wish wish = _ReadKeys();
  if (wish.quits) {
    _EndList(ListOutcome::Stopped);
    return false;
  }
  if (wish.takes) return _TakeNext();
  const bool isPaused = m_transport.IsPaused();
  if (wish.paused && (!isPaused || wish.moves)) {
    _Hold(wish);
  } else if (!wish.paused && isPaused) {
    const bool elsewhere = wish.moves || m_hasHeldMoved;
    _GoOnFrom(elsewhere ? wish.position : _DuePosition());
  } else if (!wish.paused && wish.moves) {
    _GoOnFrom(wish.position);
  }
  return true;
}

Player::Wish Player::_ReadKeys() {
  Wish wish{m_position, false, m_transport.IsPaused(), false, false};
  while (const auto key = m_keys.Take()) {
    switch (*key) {
      case Key::Help:
        m_progress.Say(kPlayKeysHelp);
        break;
      case Key::Pause:
        wish.paused = !wish.paused && !m_ended;
        break;
      case Key::Take:
        wish.takes = true;
        break;
      case Key::TakeWhenDue:
        if (m_isManual) ++m_takesWhenDue;
        break;
      case Key::Repeat:
        _ToggleRepeat();
        break;
      case Key::Quit:
        wish.quits = true;
        break;
      default:
        _Move(wish, *key);
        break;
    }
  }
  return wish;
}

void Player::_Move(Wish& wish, Key key) const {
  const int rate = m_programme.format.video.frameRate;
  wish.position = MovedBy(key, wish.position, _List().frameCount, rate).value_or(wish.position);
  wish.moves = true;
  wish.paused = wish.paused || HoldsOnFrame(key);
}

void Player::_Hold(const Wish& wish) {
  m_hasHeldMoved = wish.moves || (m_transport.IsPaused() && m_hasHeldMoved);
  if (m_monitor != nullptr) m_monitor->Pause();
  CRkRef<IRkAVPlaySample> sample;
  if (!m_transport.HoldOn(wish.position, sample)) {
    m_progress.Say("frame " + std::to_string(wish.position) + " cannot be shown");
    return;
  }
  m_position = wish.position;
  if (m_monitor != nullptr) m_monitor->ShowStill(*sample.Get(), _Caption("paused"));
  m_progress.Paused(m_position);
}

void Player::_GoOnFrom(UINT position) {
  if (!m_transport.GoOnFrom(position)) {
    m_progress.Say("frame " + std::to_string(position) + " cannot be reached");
  }
  if (position != _DuePosition() || m_ended) {
    m_played.push_back({position, 0});
    m_wasMoved = true;
    m_unread.reset();
  }
  m_ended = false;
  m_position = position;
  m_lastSample = Clock::now();
  m_pacer.Restart();
}

// The channel counts the passes of the list that is cued by the same number: that is set right when it
// goes on air.
void Player::_ToggleRepeat() {
  m_repeats = !m_repeats;
  m_wasMoved = true;
  m_wasRepeatChanged = true;
  m_channel->SetRepeatCount(m_repeats ? kRkRepeatEndless : std::max(_List().repeatCount, 1));
  m_progress.Say(m_repeats ? "repeats" : "plays to its end");
}

bool Player::_TakeNext() {
  if (!m_cuer->IsReady() || !m_cuer->HasNext()) {
    m_progress.Say(m_cuer->HasNext() ? "the next list is not cued yet" : "there is no next list");
    return true;
  }
  return _SwitchNow(m_ended ? ListOutcome::Played : ListOutcome::Taken);
}

// A list may be left once the next is cued, or none is: at its end, an endless one at any time.
bool Player::_ServeTakesWhenDue() {
  if (!m_isManual || (!m_ended && !m_repeats) || !m_cuer->IsReady()) return true;
  if (m_takesWhenDue > 0) {
    --m_takesWhenDue;
    return _SwitchNow(m_ended ? ListOutcome::Played : ListOutcome::Taken);
  }
  const bool hasWindow = m_monitor != nullptr && m_monitor->HasWindow();
  const bool maybeTyped = m_terminal != nullptr && !m_terminal->InputEnded();
  if (!m_ended || hasWindow || maybeTyped) return true;
  _EndList(ListOutcome::Played);
  m_statistics.errors.emplace_back("the standard input has ended: nothing can take the next list");
  return false;
}

std::string Player::_Caption(const char* state) const {
  return "list " + std::to_string(m_onAir + 1) + "  " + _List().title + "  " +
         Timecode(m_programme.format.video.frameRate, m_position) + "  " + state;
}

void Player::_NoteWhatWasSeen() {
  if (m_monitor == nullptr || !m_progress.IsDue()) return;
  m_progress.Note(ShortNote(m_monitor->Seen()));
}

}  // namespace rkplay
