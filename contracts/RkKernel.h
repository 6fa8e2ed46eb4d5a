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
// Factories return 1 with an object in the out-parameter (one reference for the caller), or 0 and leave it as
// it was; 0 also means that there is no memory. They may be called from any thread and do not block.
// Operations with a body are those that the module does not call: they keep the slots of the interface.

// ---- worker threads

// Runs on the worker thread with the context given to SetThreadProc. A stop requested after the Start signals
// stopEvent, possibly before the routine begins; the routine then returns soon. The result has no meaning.
typedef UINT (*RkThreadProc)(void* context, HANDLE stopEvent);

// A thread that runs one routine at a time, once per Start. Every operation may be called from any
// thread while the routine runs; SetThreadProc and SetOption before Create or between runs.
class IRkWorkerThread : public IRkUnknown {
 public:
  // Resets the stop event and runs the routine once; does not wait. While a run is active, requests its stop
  // and starts the routine again when it has returned.
  virtual void Start() = 0;
  // Signals the stop event of the run and cancels a start that waits for it; does not wait.
  virtual void RequestStop() = 0;
  // Waits until the routine has returned, at most timeoutMs. Does not wait when none runs, nor on the worker
  // thread itself.
  virtual void WaitForStop(DWORD timeoutMs) = 0;
  virtual void Operation4() {}
  // Final: stops a running routine and ends the thread, waiting at most timeoutMs for both.
  virtual void Close(DWORD timeoutMs) = 0;
  virtual void SetThreadProc(RkThreadProc proc, void* context) = 0;
  virtual BOOL IsIdle() = 0;
  virtual void Operation8() {}
  virtual void Operation9() {}
  // From now on the thread waits for Start.
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

// The owner of pool elements: lends them out and keeps one reference to each. Both operations are called on
// the thread that released the last reference besides the owner's.
class IRkPoolElementOwner : public IRkUnknown {
 public:
  // For play samples, which are lent out too but do not derive from IRkPoolElement.
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

// A video sample without an owner, buffers or index.
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
  // Restarts the clock at tick 1. A rate that is not above 0 stops it.
  virtual void Start(double framesPerSecond) = 0;
  // Waits for the next tick, at most timeoutMs. A tick that the caller has missed ends the call immediately,
  // one tick per call.
  virtual void WaitTick(UINT timeoutMs) = 0;
  virtual void Stop() = 0;
};

RK_KERNEL_API int RkCreateSoftRefClock(IRkSoftRefClock** clock);

// ---- audio renderer

// Plays a stream of sound through a circular buffer. One thread at a time drives it; GetPlayPosition,
// WaitForNotify, GetDroppedSampleCount, IsLost and GetLossCount may be called from any.
class IRkAudioDirectSound : public IRkUnknown {
 public:
  // Discards what still plays: play position 0, nothing written, no notification. Does not wait.
  virtual void Reset() = 0;
  // Ends playback once the sound system has taken all that was written, and waits for that: at most the
  // length of what is left and a second. A second Stop does nothing.
  virtual void Stop() = 0;
  // Starts playback once enough has been written; non-zero when it plays. Call it until it returns that.
  virtual BOOL Play() = 0;
  virtual void Operation4() {}
  // The position counts bytes since Reset and only grows. Drops sound that was due before now, sound more
  // than the buffer's span ahead, and samples of another format. Does not wait.
  virtual void WriteSample(IRkAudioSample* audio, ULONGLONG writePosition) = 0;
  // Samples per channel that were written since the creation and are never played: they came late or too
  // early, in another format, or were due while the sound system was lost. Silence does not count.
  virtual ULONGLONG GetDroppedSampleCount() { return 0; }
  // TRUE while the renderer plays and its sound system takes nothing: the device is gone, or has asked for
  // no sound in half a second. The position follows the clock meanwhile. The renderer looks for the
  // machine's device by itself, about once a second, and goes on with it where the clock has come to.
  virtual BOOL IsLost() { return 0; }
  // How often the sound system was lost since the creation. One outage counts once, however often the
  // renderer plays meanwhile.
  virtual UINT GetLossCount() { return 0; }
  virtual void Operation9() {}
  virtual void Operation10() {}
  // Notifications come at this interval while the renderer plays; none for an interval not above 0.
  virtual void SetNotifyInterval(double milliseconds) = 0;
  // TRUE when a notification came since the last call, or comes within timeoutMs. A late caller gets one for
  // all it missed.
  virtual BOOL WaitForNotify(UINT timeoutMs) = 0;
  virtual void Operation13() {}
  virtual double GetBufferDuration() = 0;  // milliseconds, after which the play position wraps to 0
  // In milliseconds; on entry the value of the previous call. Runs forwards except for the wrap, and goes on
  // through silence when nothing new is written or the sound system is gone. One call advances by at most 0.4
  // of the span, so two alternating callers never miss a wrap; a longer jump takes several calls.
  virtual void GetPlayPosition(double* position) = 0;
};

// bufferMs: span of the circular buffer, rounded down to whole samples. startBytes: the bytes that must be
// written before Play starts. 0 when no sound system is selected or it has no device, for a format it cannot
// play, for a span below one sample and for startBytes beyond the span.
RK_KERNEL_API int RkCreateAudioDirectSound(const SRkWaveFormatInfo& format, HWND window, double bufferMs,
                                           DWORD startBytes, IRkAudioDirectSound** renderer);

enum ERkAudioSystem : int {
  RkAudioSystem_System = 0,   // the machine's: SDL's on Linux, DirectSound on Windows
  RkAudioSystem_Virtual = 1,  // a sound card in name only, paced by the monotonic clock
  RkAudioSystem_None = 2,     // the creation of a renderer fails
};

// Receives what renderers play. Each renderer references its monitor.
class IRkAudioMonitor : public IRkUnknown {
 public:
  // At the creation of each renderer, on the creating thread. May keep a reference; the renderer ends only
  // after the monitor has released it.
  virtual void OnRenderer(IRkAudioDirectSound* renderer, const SRkWaveFormatInfo& format) = 0;
  // The sound that the system has taken, in order, silence included; nothing while the system is gone. On the
  // system's thread; the rest of a virtual system's sound on the thread that stops the renderer. `data` is
  // borrowed. Must not block; may call the renderer's GetPlayPosition and nothing else of it.
  virtual void OnSound(const BYTE* data, DWORD bytes) = 0;
};

// Selects the sound system and monitor of renderers created from now on; RkAudioSystem_System until then. An
// unknown value counts as none. `monitor` may be null; it is referenced until the next choice, and by each
// renderer. Any thread may call.
RK_KERNEL_API void RkSelectAudioSystem(ERkAudioSystem system, IRkAudioMonitor* monitor);
