#pragma once

// The one header that a host includes: the module's factories and every interface and record they use.

#include "contracts/RkAVUtils.h"
#include "contracts/RkClipCore.h"
#include "contracts/RkHost.h"
#include "contracts/RkKernel.h"
#include "contracts/RkLogAPI.h"
#include "contracts/RkMediaRecords.h"
#include "output_channel/IRkClipOutputChannel.h"
#include "output_device/IRkSoftwareOutputDevice.h"
#include "source_channel/IRkClipSourceChannel.h"
#include "source_player/IRkClipSourcePlayer.h"

#if defined(RkClipPlay_EXPORTS)
#define RK_CLIP_PLAY_API RK_EXPORT
#elif defined(RK_CLIP_PLAY_STATIC)
#define RK_CLIP_PLAY_API
#else
#define RK_CLIP_PLAY_API RK_IMPORT
#endif

// Every factory returns 1 and an object with one reference for the caller, or 0 and leaves `out` as it was;
// `out` must not be null. A factory returns 0 without memory, threads or handles, and for the arguments that
// it names. Formats are copied; a pool or sink that is given is referenced until the object ends or is given
// another. Any thread may call; no factory blocks.

// preRollCount: the samples that Play waits for. cacheCapacity: the samples decoded ahead, at least 1; where
// the pre-roll is not below it, the Play of a list that long may wait its full second. The pool may be null.
RK_CLIP_PLAY_API int RkCreateClipSourceChannel(UINT preRollCount, UINT cacheCapacity,
                                               const SRkVideoResolution& resolution,
                                               const SRkWaveFormatInfo& format, IRkPlayBufferPool* pool,
                                               IRkClipSourceChannel** out);

// The same for each of the three source channels. The sink may be null: lists then follow each other
// immediately.
RK_CLIP_PLAY_API int RkCreateClipOutputChannel(UINT preRollCount, UINT cacheCapacity,
                                               const SRkVideoResolution& resolution,
                                               const SRkWaveFormatInfo& format, IRkPlayBufferPool* pool,
                                               IRkClipOutputChannelNotify* notify,
                                               IRkClipOutputChannel** out);

// 0 for a null pool. The callback may be null.
RK_CLIP_PLAY_API int RkCreateClipSourcePlayer(const SRkVideoResolution& resolution,
                                              const SRkWaveFormatInfo& format, IRkPlayBufferPool* pool,
                                              IRkClipOutputCallback* callback, IRkClipSourcePlayer** out);

// window: for the audio renderer, null where it needs none. queueDepth: the frames in flight, at least 1. 0
// for a frame rate outside the table. Without audio channels or a sound system the device shows pictures
// only.
RK_CLIP_PLAY_API int RkCreateSoftwareOutputDevice(const SRkVideoResolution& resolution,
                                                  const SRkWaveFormatInfo& format, HWND window,
                                                  int queueDepth, IRkSoftwareOutputDevice** out);
