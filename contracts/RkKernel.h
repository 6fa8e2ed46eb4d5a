#pragma once

#include "contracts/IRkUnknown.h"
#include "contracts/RkMediaRecords.h"

#if defined(RkKernel_EXPORTS)
#define RK_KERNEL_API RK_EXPORT
#else
#define RK_KERNEL_API RK_IMPORT
#endif

// Worker threads, samples, the reference clock and the audio renderer.
//
// Factories return 1 with an object in the out-parameter (one reference for the caller), or 0 and leave
// it as it was. Operations with a body are those that the module does not call: they hold the places of
// the interface, and where they have a purpose of ours they are named for it.

// ---- worker threads

// Runs on the worker thread with the context given to SetThreadProc. stopEvent becomes signalled by a stop
// that is asked for after the Start, which may be before the routine begins; the routine then returns
// soon. The result carries no meaning.
typedef UINT (*RkThreadProc)(void* context, HANDLE stopEvent);

// A thread that runs one routine at a time, once per Start. Every operation may be called from any
// thread while the routine runs; SetThreadProc and SetOption before Create or between runs.
class IRkWorkerThread : public IRkUnknown {
 public:
  // Resets the stop event and runs the routine once; returns at once. While a run is active, that run is
  // asked to stop and the routine is started again when it has returned.
  virtual void Start() = 0;
  // Signals the stop event of the run, and takes back a start that waits for it; returns at once.
  virtual void RequestStop() = 0;
  // Until the routine has returned, at most timeoutMs; returns at once when none runs, and on the worker
  // thread itself.
  virtual void WaitForStop(DWORD timeoutMs) = 0;
  virtual void Operation4() {}
  // Final: stops a running routine and ends the thread, waiting at most timeoutMs for both.
  virtual void Close(DWORD timeoutMs) = 0;
  virtual void SetThreadProc(RkThreadProc proc, void* context) = 0;
  virtual BOOL IsIdle() = 0;
  virtual void Operation8() {}
  virtual void Operation9() {}
  // The thread now waits for Start.
  virtual void Create() = 0;
  virtual void Operation11() {}
  // Given once before Create. TRUE: the thread keeps time for others and may have the real-time class
  // that its priority asks for. FALSE: it does bulk work and is never raised above the normal one.
  virtual void SetOption(BOOL keepsTime) = 0;
};

// `priority` is a Windows thread priority (15 = time-critical). What the process is not allowed to have
// is quietly not taken.
RK_KERNEL_API int RkCreateWorkerThread(int priority, IRkWorkerThread** thread);

// ---- audio samples

// A block of interleaved audio. One thread at a time, every Lock followed by one Unlock.
class IRkAudioSample : public IRkUnknown {
 public:
  virtual void Operation1() {}
  virtual void Operation2() {}
  // Valid samples per channel; a count above the capacity is cut to it.
  virtual void SetSampleCount(DWORD count) = 0;
  virtual void Operation4() {}
  virtual void GetInfo(SRkAudioSampleInfo* info) = 0;
  virtual void Lock(SRkLockAudioSample* lock) = 0;
  virtual void Unlock() = 0;
};

// Room for `capacity` samples per channel; the valid count begins at 0. With data null the sample owns
// its memory, otherwise it uses the caller's, which must outlive it.
RK_KERNEL_API int RkCreateUserAudioSample(const SRkWaveFormatInfo& format, void* data, DWORD capacity,
                                          IRkAudioSample** audio);

// ---- pool elements and video samples

class IRkAVPlaySample;
class IRkPoolElement;

// Whoever lends out pool elements and keeps one reference to each. Both operations are called on the
// thread that released the last reference besides the owner's.
class IRkPoolElementOwner : public IRkUnknown {
 public:
  // For play samples, which are lent out too but are no pool elements.
  virtual void GiveBackPlaySample(IRkAVPlaySample* sample) { (void)sample; }
  virtual void GiveBack(IRkPoolElement* element) = 0;
};

// Release gives an element back to its owner when the owner's reference is the last one left.
class IRkPoolElement : public IRkUnknown {
 public:
  // Cleans up just before the element is destroyed.
  virtual void OnFinalRelease() = 0;
};

// A picture: up to four buffers (one a plane, see RkPictureLayout.h) and the index it is shown under.
class IRkVideoSample : public IRkPoolElement {
 public:
  // index 0 to 3. FALSE, and null, when there is none.
  virtual BOOL GetBuffer(UINT index, IRkUnknown** buffer) = 0;
  virtual UINT GetFrameIndex() = 0;  // kRkNoPosition when never stamped
  // Takes its own reference; null takes the buffer away.
  virtual void SetBuffer(UINT index, IRkUnknown* buffer) = 0;
  virtual void SetFrameIndex(UINT index) = 0;
  virtual UINT Operation5() { return 0; }
  virtual void Operation6() {}
  virtual UINT Operation7() { return 0; }
  virtual void Operation8() {}
  virtual UINT Operation9() { return 0; }
  virtual void Operation10() {}
  virtual UINT Operation11() { return 0; }
  virtual void Operation12() {}
  virtual void Operation13() {}
  virtual void Operation14() {}
  virtual UINT Operation15() { return 0; }
};

// A video sample of its own, without an owner, buffers or index.
RK_KERNEL_API int RkCreateVideoSample(IRkVideoSample** video);

// ---- audio/video play samples

// One frame: its position, its picture, its audio blocks (groups of channels that together give all
// channels in order) and an item that travels with it. One thread at a time; ownership passes by
// reference.
class IRkAVPlaySample : public IRkUnknown {
 public:
  virtual void Operation1() {}
  virtual UINT GetPosition() = 0;
  virtual void SetPosition(UINT position) = 0;
  virtual void GetVideoSample(IRkVideoSample** video) = 0;  // null when there is none
  virtual void SetVideoSample(IRkVideoSample* video) { (void)video; }
  // Puts a block in place, null takes it and all later ones away. Blocks are put in order, from 0.
  virtual void SetAudioSample(UINT block, IRkAudioSample* audio) {
    (void)block;
    (void)audio;
  }
  virtual void SetAttachment(IRkUnknown* item) { (void)item; }
  virtual void GetAudioSample(UINT block, UINT reserved, IRkAudioSample** audio) = 0;  // null past the last
  virtual BOOL GetAttachment(UINT reserved, IRkUnknown** item) = 0;                    // FALSE without one
  // Copies position, video, audio and attachment into target. Planes and sound are shared.
  virtual void CopyTo(IRkAVPlaySample* target) = 0;
};

// An empty sample at position kRkNoPosition.
RK_KERNEL_API int RkCreateAVPlaySample(IRkAVPlaySample** sample);

// A fixed number of samples, of both kinds together, that come back when their users have released them.
// Any thread may enter. The pool may be released while samples are out.
class IRkAVPlaySamplePool : public IRkUnknown {
 public:
  // Both block for at most timeoutMs (0: not at all, INFINITE: until one is free) and give null when
  // none came.
  virtual void GetVideoSample(DWORD timeoutMs, IRkVideoSample** video) = 0;
  virtual void GetAVPlaySample(DWORD timeoutMs, IRkAVPlaySample** sample) = 0;
};

RK_KERNEL_API int RkCreateAVPlaySamplePool(UINT count, IRkAVPlaySamplePool** pool);

// ---- reference clock

// Ticks at absolute times of the monotonic clock, the first one frame after Start. Any thread may enter.
class IRkSoftRefClock : public IRkUnknown {
 public:
  // Begins anew at tick 1. A rate that is not above 0 stops the clock.
  virtual void Start(double framesPerSecond) = 0;
  // Until the next tick, at most timeoutMs. Ticks that the caller has missed come at once, one a call.
  virtual void WaitTick(UINT timeoutMs) = 0;
  virtual void Stop() = 0;
};

RK_KERNEL_API int RkCreateSoftRefClock(IRkSoftRefClock** clock);

// ---- audio renderer

// Plays a stream of sound through a circular buffer. One thread at a time drives it; GetPlayPosition,
// WaitForNotify, GetDroppedSampleCount, IsLost and GetLossCount may be called from any.
class IRkAudioDirectSound : public IRkUnknown {
 public:
  // Back to the start, cutting what still plays: play position 0, nothing written, no notification.
  virtual void Reset() = 0;
  // Ends playback once all that was written has gone to the sound system. Waits for that, at most the
  // length of what is written and a second. A second Stop does nothing.
  virtual void Stop() = 0;
  // Starts playback once enough has been written; non-zero when it plays. Asked repeatedly.
  virtual BOOL Play() = 0;
  virtual void Operation4() {}
  // The position counts bytes since Reset and only grows. Sound that has been due already is skipped, what
  // lies more than the buffer's span ahead is cut; a sample of another format is not played at all.
  virtual void WriteSample(IRkAudioSample* audio, ULONGLONG writePosition) = 0;
  // Samples per channel that were written since the creation and are never played: they came late or too
  // early, in another format, or were due while the sound system was lost. Silence does not count.
  virtual ULONGLONG GetDroppedSampleCount() { return 0; }
  // TRUE while the renderer plays and its sound system takes nothing: the device is gone, or has asked for
  // no sound in half a second. The position follows the clock meanwhile. The renderer looks for the
  // machine's device by itself, about once a second, and goes on with it where the clock has come to.
  virtual BOOL IsLost() { return 0; }
  // How often the sound system was lost since the creation.
  virtual UINT GetLossCount() { return 0; }
  virtual void Operation9() {}
  virtual void Operation10() {}
  // Notifications come at this interval while the renderer plays; none for an interval not above 0.
  virtual void SetNotifyInterval(double milliseconds) = 0;
  // TRUE when a notification came since the last call, or comes within timeoutMs. However many were
  // missed, a late caller gets one.
  virtual BOOL WaitForNotify(UINT timeoutMs) = 0;
  virtual void Operation13() {}
  virtual double GetBufferDuration() = 0;  // milliseconds, after which the play position wraps to 0
  // In milliseconds; on entry the value of the previous call. Never runs backwards but for the wrap, and
  // goes on, playing silence, when nothing new is written or the sound system is gone. Tells at most 0.4 of
  // the span more than the call before, whoever made it: a longer jump is told over several calls, so that
  // one caller, or two in turn, count every wrap.
  virtual void GetPlayPosition(double* position) = 0;
};

// bufferMs: span of the circular buffer, taken in whole samples. startBytes: how much must be written
// before Play starts. 0 when no sound system is chosen or it has no device, for a format it cannot play,
// for a span that holds no sample and for startBytes that the span cannot hold.
RK_KERNEL_API int RkCreateAudioDirectSound(const SRkWaveFormatInfo& format, HWND window, double bufferMs,
                                           DWORD startBytes, IRkAudioDirectSound** renderer);

enum ERkAudioSystem : int {
  RkAudioSystem_System = 0,   // the machine's; Linux only
  RkAudioSystem_Virtual = 1,  // a sound card in name only, paced by the monotonic clock
  RkAudioSystem_None = 2,     // the creation of a renderer fails
};

// Hears what renderers play.
class IRkAudioMonitor : public IRkUnknown {
 public:
  // At the creation of each renderer, on the creating thread. May keep a reference, and must let go of it
  // when the renderer is to end: each renderer has a reference to its monitor.
  virtual void OnRenderer(IRkAudioDirectSound* renderer, const SRkWaveFormatInfo& format) = 0;
  // What the sound system has been given, in order, silence included; nothing while it is gone. Comes on
  // its thread, and the rest of a virtual one's on the thread that stops the renderer. Must not block; of
  // the renderer it may only ask GetPlayPosition.
  virtual void OnSound(const BYTE* data, DWORD bytes) = 0;
};

// What renderers created from now on play through; RkAudioSystem_System until it is called. An unknown
// value is as none. `monitor` may be null; a reference is kept until the next choice, and by each renderer
// while it lives. Any thread may call.
RK_KERNEL_API void RkSelectAudioSystem(ERkAudioSystem system, IRkAudioMonitor* monitor);
