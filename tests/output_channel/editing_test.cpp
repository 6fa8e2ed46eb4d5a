#include "tests/output_channel/OutputChannelTest.h"

namespace {

constexpr wchar_t kInsertFailed[] =
    L"CRkClipOutputChannel::InsertClipElement failed. The Waiting channel failed to insert the element!\n";
constexpr wchar_t kPlayFailed[] =
    L"CRkClipOutputChannel::InsertClipElement failed. The Waiting channel failed to play!\n";

using Editing = OutputChannelTest;

TEST_F(Editing, banners_frame_what_an_operation_logs) {
  PlayList({MakeElement('A', 9)});
  CLogRecorder log;
  TakeSample();
  Cue('B', 9, 1, 9);
  const auto twice = MakeElement('B', 9);
  Cue({twice, twice});
  m_channel->InsertClipElement(static_cast<IRkClipElement*>(nullptr), 1, 0);
  m_channel->DeleteClip();
  LeaveRequest();
  m_channel->Seek(99, 0);
  const auto banner = [](const wchar_t* way, const wchar_t* name) {
    return std::wstring(way) + L" ------>CRkClipOutputChannel::" + name + L"<------\n";
  };
  std::vector<std::wstring> told;
  for (const auto& line : log.Lines()) {
    const size_t message = line.text.find(L"[TID: ");
    const bool traced = message != std::wstring::npos;
    // The source channel's own lines do not matter here.
    if (traced && line.text.find(L"CRkClipOutputChannel") != 1) continue;
    EXPECT_EQ(line.level, RkLogLevel_Debug);
    told.push_back(traced ? line.text.substr(line.text.find(L']', message) + 1) : line.text);
  }
  EXPECT_EQ(
      told,
      (Messages{banner(L"enter", L"GetSample"), L"0", banner(L"leave", L"GetSample"),
                banner(L"enter", L"InsertClipElement"), kPlayFailed, banner(L"leave", L"InsertClipElement"),
                banner(L"enter", L"InsertClipElement"), kInsertFailed, banner(L"leave", L"InsertClipElement"),
                banner(L"enter", L"InsertClipElement"), banner(L"leave", L"InsertClipElement"),
                banner(L"enter", L"DeleteClip"), banner(L"leave", L"DeleteClip"),
                banner(L"enter", L"SwitchPlay"),
                L"CRkClipOutputChannel::SwitchPlay failed: maybe the play channel stopped at it "
                L"happens!\n",
                banner(L"leave", L"SwitchPlay"), banner(L"enter", L"Seek"), banner(L"leave", L"Seek")}));
}

}  // namespace
