#include <gtest/gtest.h>

#include "tests/module/Faults.h"
#include "tests/support/RkFakes.h"
#include "tests/support/RkLogRecorder.h"

namespace {

// A program on Windows does not replace the operators of its DLLs.
#ifdef _WIN32
constexpr bool kReachesLibraries = false;
#else
constexpr bool kReachesLibraries = true;
#endif

struct CFakeCallback : CFake<IRkClipOutputCallback> {
  void OnPlayStart() override {}
  void OnPlaySample(IRkAVPlaySample*) override {}
  void OnPlayEnd() override {}
};

class factories : public testing::Test {
 protected:
  int Create(IRkClipSourceChannel** out) const {
    return RkCreateClipSourceChannel(2, 4, kTestVideo, kTestAudio, m_pool.Get(), out);
  }
  int Create(IRkClipOutputChannel** out) const {
    return RkCreateClipOutputChannel(2, 4, kTestVideo, kTestAudio, m_pool.Get(), m_notify.Get(), out);
  }
  int Create(IRkClipSourcePlayer** out) const {
    return RkCreateClipSourcePlayer(kTestVideo, kTestAudio, m_pool.Get(), m_callback.Get(), out);
  }
  int Create(IRkSoftwareOutputDevice** out) const {
    return RkCreateSoftwareOutputDevice(kTestVideo, kTestAudio, nullptr, 3, out);
  }

  void ExpectReferences(UINT toPool, UINT toSinks) const {
    EXPECT_EQ(References(*m_pool), 1 + toPool);
    EXPECT_EQ(References(*m_notify) + References(*m_callback), 2 + toSinks);
  }

  // How many allocations there were, without each of which the object is refused. An object that is made
  // holds the references, and gives them back.
  template <class Interface>
  int FailEachAllocation(const char* what, UINT toPool, UINT toSinks) const {
    int successes = 0;
    const int allocations = FailEach(what, [&] {
      Interface* const untouched = reinterpret_cast<Interface*>(&successes);
      Interface* made = untouched;
      const int result = Create(&made);
      EXPECT_EQ(made != untouched, result == 1) << "the out-pointer disagrees";
      if (result == 0) return false;
      ++successes;
      ExpectReferences(toPool, toSinks);
      EXPECT_EQ(References(*made), 1u);
      return made->Release() == 0;
    });
    EXPECT_EQ(successes, 2) << "the first and the last, of " << what;
    ExpectReferences(0, 0);
    return allocations;
  }

  const CRkRef<CFakePool> m_pool = MakeFake<CFakePool>();
  const CRkRef<CFakeNotify> m_notify = MakeFake<CFakeNotify>();
  const CRkRef<CFakeCallback> m_callback = MakeFake<CFakeCallback>();
};

TEST_F(factories, an_object_gives_back_all_it_was_given_also_when_its_creation_fails_at_any_point) {
  const int ofOneSource = FailEachAllocation<IRkClipSourceChannel>("source channel", 1, 0);
  EXPECT_GT(FailEachAllocation<IRkClipOutputChannel>("output channel", 3, 1), 3 * ofOneSource)
      << "the third source channel was not reached";
  EXPECT_GE(FailEachAllocation<IRkClipSourcePlayer>("source player", 1, 1), kReachesLibraries ? 2 : 1);
  // With a sound system the device lives without a renderer.
  RkSelectAudioSystem(RkAudioSystem_None, nullptr);
  EXPECT_GT(FailEachAllocation<IRkSoftwareOutputDevice>("output device", 0, 0), kReachesLibraries ? 10 : 1);
}

TEST_F(factories, what_a_class_cannot_work_with_is_refused) {
  CLogRecorder log;
  IRkClipOutputChannel* output = nullptr;
  EXPECT_EQ(RkCreateClipOutputChannel(2, 0, kTestVideo, kTestAudio, nullptr, nullptr, &output), 0);
  EXPECT_EQ(log.Messages(L"CRkClipSourceChannel::_Initialize"),
            std::vector<std::wstring>{L"CRkClipSourceChannel::Initialize Failed. Cannot create objects\n"});
  IRkClipSourcePlayer* player = nullptr;
  EXPECT_EQ(RkCreateClipSourcePlayer(kTestVideo, kTestAudio, nullptr, m_callback.Get(), &player), 0);
  ExpectReferences(0, 0);
}

}  // namespace
