#include <gtest/gtest.h>

#include "tests/module/Faults.h"
#include "tests/support/RkFakes.h"
#include "tests/support/RkLogRecorder.h"

namespace {

class CFakeCallback : public CFake<IRkClipOutputCallback> {
 public:
  void OnPlayStart() override {}
  void OnPlaySample(IRkAVPlaySample*) override {}
  void OnPlayEnd() override {}
};

// One factory behind its arguments; what it makes is handed out as its root.
struct SFactory {
  const char* name;
  UINT poolReferences;  // that the object keeps; of the sink it keeps one
  std::function<int(IRkUnknown**)> create;
};

// Leaves the out-pointer as untouched as the factory did.
template <class Interface, class Call>
int AsRoot(IRkUnknown** out, Call call) {
  Interface* const untouched = reinterpret_cast<Interface*>(out);
  Interface* made = untouched;
  const int result = call(&made);
  if (made != untouched) *out = made;
  return result;
}

class Factories : public testing::Test {
 protected:
  UINT PoolReferences() const { return m_pool->AddRef(), m_pool->Release() - 1; }
  UINT SinkReferences() const {
    return m_notify->AddRef(), m_callback->AddRef(), m_notify->Release() + m_callback->Release() - 2;
  }

  int CreateSource(IRkClipSourceChannel** out) const {
    return RkCreateClipSourceChannel(2, m_capacity, kTestVideo, kTestAudio, m_pool.Get(), out);
  }
  int CreateOutput(IRkClipOutputChannel** out) const {
    return RkCreateClipOutputChannel(2, m_capacity, kTestVideo, kTestAudio, m_pool.Get(), m_notify.Get(),
                                     out);
  }
  int CreatePlayer(IRkClipSourcePlayer** out) const {
    return RkCreateClipSourcePlayer(kTestVideo, kTestAudio, m_pool.Get(), m_callback.Get(), out);
  }

  void ExpectNothingAlive(int handles, int blocks) const {
    EXPECT_TRUE(WaitUntil([&] { return LiveHandles() == handles && LiveBlocks() == blocks; }))
        << LiveHandles() - handles << " handles and " << LiveBlocks() - blocks << " blocks are left";
    EXPECT_EQ(PoolReferences(), 0u);
    EXPECT_EQ(SinkReferences(), 0u);
  }

  // Lets the first, the second, ... creation fail until all succeed; how many there were.
  int FailEachCreation(const SFactory& factory) const {
    for (int n = 0;; ++n) {
      SCOPED_TRACE(testing::Message() << factory.name << ", creation " << n);
      const int handles = LiveHandles();
      const int blocks = LiveBlocks();
      IRkUnknown* made = m_pool.Get();
      FailCreation(n);
      const int result = factory.create(&made);
      const bool failed = EndFailing() > n;
      EXPECT_EQ(result, failed ? 0 : 1);
      EXPECT_EQ(made == m_pool.Get(), failed) << "the out-pointer tells otherwise";
      if (result) made->Release();
      ExpectNothingAlive(handles, blocks);
      if (!failed || HasFailure()) return n;
    }
  }

  const CRkRef<CFakePool> m_pool = MakeFake<CFakePool>();
  const CRkRef<CFakeNotify> m_notify = MakeFake<CFakeNotify>();
  const CRkRef<CFakeCallback> m_callback = MakeFake<CFakeCallback>();
  UINT m_capacity = 4;
  const SFactory m_output = {"output channel", 3, [this](IRkUnknown** out) {
                               return AsRoot<IRkClipOutputChannel>(
                                   out, [this](auto** made) { return CreateOutput(made); });
                             }};
  const SFactory m_player = {"source player", 1, [this](IRkUnknown** out) {
                               return AsRoot<IRkClipSourcePlayer>(
                                   out, [this](auto** made) { return CreatePlayer(made); });
                             }};
  const SFactory m_device = {"output device", 0, [](IRkUnknown** out) {
                               return AsRoot<IRkSoftwareOutputDevice>(out, [](auto** made) {
                                 return RkCreateSoftwareOutputDevice(kTestVideo, kTestAudio, nullptr, 3,
                                                                     made);
                               });
                             }};
};

TEST_F(Factories, an_object_lives_by_its_references_and_gives_back_what_it_was_given) {
  for (const SFactory& factory : {m_output, m_player}) {
    SCOPED_TRACE(factory.name);
    IRkUnknown* made = nullptr;
    ASSERT_EQ(factory.create(&made), 1);
    EXPECT_EQ(PoolReferences(), factory.poolReferences);
    EXPECT_EQ(SinkReferences(), 1u);
    EXPECT_EQ(made->AddRef(), 2u);
    EXPECT_EQ(made->Release(), 1u);
    EXPECT_EQ(made->Release(), 0u);
    EXPECT_EQ(PoolReferences(), 0u);
    EXPECT_EQ(SinkReferences(), 0u);
  }
}

TEST_F(Factories, a_failure_at_any_point_of_a_creation_leaves_nothing_alive) {
  CRkRef<IRkClipSourceChannel> source;
  FailCreation(-1);
  ASSERT_TRUE(CreateSource(source.Out()));
  const int ofOneSource = EndFailing();
  source.Reset();
  EXPECT_GT(FailEachCreation(m_output), 3 * ofOneSource) << "the third source channel was not reached";
  EXPECT_GT(FailEachCreation(m_player), 1);
  RkSelectAudioSystem(RkAudioSystem_None,
                      nullptr);  // with a sound system the device lives without a renderer
  EXPECT_GT(FailEachCreation(m_device), 10);
}

TEST_F(Factories, what_a_class_cannot_work_with_is_refused) {
  CLogRecorder log;
  IRkClipOutputChannel* const untouched = reinterpret_cast<IRkClipOutputChannel*>(this);
  IRkClipOutputChannel* output = untouched;
  m_capacity = 0;
  EXPECT_EQ(CreateOutput(&output), 0);
  EXPECT_EQ(output, untouched);
  EXPECT_EQ(log.Messages(L"CRkClipSourceChannel::_Initialize"),
            std::vector<std::wstring>{L"CRkClipSourceChannel::Initialize Failed. Cannot create objects\n"});
  IRkClipSourcePlayer* player = nullptr;
  EXPECT_EQ(RkCreateClipSourcePlayer(kTestVideo, kTestAudio, nullptr, m_callback.Get(), &player), 0);
  EXPECT_EQ(player, nullptr);
  EXPECT_EQ(SinkReferences(), 0u);
}

}  // namespace
