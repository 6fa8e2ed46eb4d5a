#pragma once

#include "base/RkLogLine.h"

// Wording is part of the log format; do not correct.
namespace RkOutputChannelLog {

struct SText {
  const char* function;
  const wchar_t* message;
};

inline constexpr char kSwitchChannel[] = "CRkClipOutputChannel::SwitchChannel";
inline constexpr char kSwitchPlay[] = "CRkClipOutputChannel::SwitchPlay";
inline constexpr char kInsertClipElement[] = "CRkClipOutputChannel::InsertClipElement";
inline constexpr char kDeleteWaitingChannelClip[] = "CRkClipOutputChannel::_DeleteWaitingChannelClip";

inline constexpr char kGetSample[] = "CRkClipOutputChannel::Get";  // with the position as its message

// clang-format off
inline constexpr SText kNothingToPlay = {"CRkClipOutputChannel::Play",
    L"CRkClipOutputChannel::Play failed. The playing channel and waiting channel have not any element!\n"};

inline constexpr SText kRequestSeen = {kSwitchChannel,
    L"CRkClipOutputChannel::SwitchChannel: has a switch request!\n"};
inline constexpr SText kSwitchAtRequest = {kSwitchChannel,
    L"CRkClipOutputChannel::SwitchChannel: Will success to switch Playing channel and Waiting channel at once!\n"};
inline constexpr SText kNothingWaits = {kSwitchChannel,
    L"CRkClipOutputChannel::SwitchChannel Error: the Waiting Channel does not exist!!!!\n"};
inline constexpr SText kListEnded = {kSwitchChannel,
    L"CRkClipOutputChannel::SwitchChannel: the Playing channel has stopped now!\n"};
inline constexpr SText kSwitchAtEnd = {kSwitchChannel,
    L"CRkClipOutputChannel::SwitchChannel. The Waiting channel is not empty, so to switch Playing channel and Waiting channel!\n"};
inline constexpr SText kPlaybackEnds = {kSwitchChannel,
    L"CRkClipOutputChannel::SwitchChannel. The Waiting channel is empty, so to end the playback!\n"};

inline constexpr SText kSwitchPlayDone = {kSwitchPlay,
    L"CRkClipOutputChannel::SwitchPlay Successed!\n"};
inline constexpr SText kSwitchPlayFailed = {kSwitchPlay,
    L"CRkClipOutputChannel::SwitchPlay failed: maybe the play channel stopped at it happens!\n"};

inline constexpr SText kInsertDeleteFailed = {kInsertClipElement,
    L"CRkClipOutputChannel::InsertClipElement failed. The Waiting channel failed to delete clip!\n"};
inline constexpr SText kInsertInsertFailed = {kInsertClipElement,
    L"CRkClipOutputChannel::InsertClipElement failed. The Waiting channel failed to insert the element!\n"};
inline constexpr SText kInsertPlayFailed = {kInsertClipElement,
    L"CRkClipOutputChannel::InsertClipElement failed. The Waiting channel failed to play!\n"};
inline constexpr SText kDeleteStopFailed = {kDeleteWaitingChannelClip,
    L"CRkClipOutputChannel::DeleteClip failed. The Waiting channel failed to stop!\n"};
inline constexpr SText kDeleteRemoveFailed = {kDeleteWaitingChannelClip,
    L"CRkClipOutputChannel::DeleteClip failed. The Waiting channel failed to remove all element!\n"};

inline constexpr wchar_t kGetSampleBanner[] = L"------>CRkClipOutputChannel::GetSample<------\n";
inline constexpr wchar_t kSeekBanner[] = L"------>CRkClipOutputChannel::Seek<------\n";
inline constexpr wchar_t kSwitchPlayBanner[] = L"------>CRkClipOutputChannel::SwitchPlay<------\n";
inline constexpr wchar_t kInsertBanner[] = L"------>CRkClipOutputChannel::InsertClipElement<------\n";
inline constexpr wchar_t kDeleteBanner[] = L"------>CRkClipOutputChannel::DeleteClip<------\n";
// clang-format on

// Logs with the caller's line.
inline void Trace(const SText& text, int line = __builtin_LINE()) {
  RkLogTraceLine(RkLogLevel_Debug, text.function, line, text.message);
}

}  // namespace RkOutputChannelLog
