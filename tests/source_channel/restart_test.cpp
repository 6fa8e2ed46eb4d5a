#include <dlfcn.h>

#include "tests/source_channel/SourceChannelTest.h"

namespace {

std::function<void()> g_beforeStart;

// A worker thread whose starts a test may hold up.
class CHeldThread : public CRkUnknown<IRkWorkerThread> {
 public:
  explicit CHeldThread(CRkRef<IRkWorkerThread> thread) : m_thread(std::move(thread)) {}

  void Start() override {
    if (g_beforeStart) g_beforeStart();
    m_thread->Start();
  }
  void RequestStop() override { m_thread->RequestStop(); }
  void WaitForStop(DWORD timeoutMs) override { m_thread->WaitForStop(timeoutMs); }
  void Close(DWORD timeoutMs) override { m_thread->Close(timeoutMs); }
  void SetThreadProc(RkThreadProc proc, void* context) override { m_thread->SetThreadProc(proc, context); }
  BOOL IsIdle() override { return m_thread->IsIdle(); }
  void Create() override { m_thread->Create(); }
  void SetOption(BOOL keepsTime) override { m_thread->SetOption(keepsTime); }

 private:
  const CRkRef<IRkWorkerThread> m_thread;
};

}  // namespace

// Stands in front of the library's own.
__attribute__((visibility("default"))) int RkCreateWorkerThread(int priority, IRkWorkerThread** thread) {
  static const auto create = reinterpret_cast<decltype(&RkCreateWorkerThread)>(
      dlsym(RTLD_NEXT, "_Z20RkCreateWorkerThreadiPP15IRkWorkerThread"));
  CRkRef<IRkWorkerThread> own;
  if (!create(priority, own.Out())) return 0;
  *thread = MakeFake<CHeldThread>(std::move(own)).Detach();
  return 1;
}

namespace {

using RestartTest = SourceChannelTest;

// The restart that the second play left waiting must not read for the third before that one starts.
TEST_F(RestartTest, each_of_several_plays_that_meet_a_blocked_read_begins_one_run) {
  Build({500});
  ASSERT_TRUE(channel->Play(0, -1));
  HoldRead(*elements[0]);
  ASSERT_TRUE(channel->Play(50, -1));
  g_beforeStart = [&] {  // gives a run that must not be there the time to show
    elements[0]->readGate.Open();
    for (int i = 0; i < 100 && elements[0]->Seeks().empty(); ++i) {
      std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
  };
  ASSERT_TRUE(channel->Play(400, -1));
  g_beforeStart = nullptr;
  ExpectFrames(400, 420);
}

}  // namespace
