// Compiled, never run: names every interface, record and function that crosses the border, so that the
// compiler shows how it lays them out.
#include "module/RkClipPlay.h"

// A constructor makes the compiler emit, and show, the table of its class.
#define PROBE(Interface)                 \
  struct Probe_##Interface : Interface { \
    Probe_##Interface();                 \
  };                                     \
  Probe_##Interface::Probe_##Interface() {}

#include "Interfaces.inc"  // layout.sh writes a PROBE for each

SRkClipFormat g_clipFormat;
SRkAudioSampleInfo g_audioSampleInfo;
SRkLockAudioSample g_lockAudioSample;
SRkAudioMixParam g_audioMixParam;
IRkClipTrimInfo::SRkTrimInOut g_trimInOut;
IRkClipTrimInfo::Ranges g_ranges;

template <auto... functions>
struct SNames {
  void* const pointers[sizeof...(functions)] = {reinterpret_cast<void*>(functions)...};
};
SNames<&RkCreateClipSourceChannel, &RkCreateClipOutputChannel, &RkCreateClipSourcePlayer,
       &RkCreateSoftwareOutputDevice>
    g_module;
SNames<&RkCreateWorkerThread, &RkCreateUserAudioSample, &RkCreateVideoSample, &RkCreateAVPlaySample,
       &RkCreateAVPlaySamplePool, &RkCreateSoftRefClock, &RkCreateAudioDirectSound, &RkSelectAudioSystem>
    g_kernel;
SNames<&RkCreateClipTrimInfo, &RkCreateClipElementList, &RkCreatePatternClipElement> g_clipCore;
SNames<&RkAudioUtils::GetAudioBufferSize, &RkAudioUtils::GetAudioSampleCounts,
       &RkAudioUtils::SilientAudioBuffer, &RkAudioUtils::CopyAudioChannelSamples,
       &RkAudioUtils::MixAudioSampleTo16bitStereo>
    g_avUtils;
SNames<&RkLog_Trace, &RkLog_Fun, &RkLog_SetSink, &RkLog_SetFile> g_logApi;
