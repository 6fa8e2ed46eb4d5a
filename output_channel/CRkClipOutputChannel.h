#pragma once

#include <array>
#include <atomic>
#include <optional>

#include "base/CRkCriticalSection.h"
#include "base/CRkRef.h"
#include "base/CRkUnknown.h"
#include "output_channel/CRkOnAirSound.h"
#include "output_channel/CRkSwitchRequest.h"
#include "output_channel/IRkClipOutputChannel.h"
#include "source_channel/IRkClipSourceChannel.h"

// Plays clip lists one after the other through three source channels, which it owns for its whole life;
// only the roles of the first two are ever exchanged. Owns one reference to the notification sink.
//
// Threads: only the host's. Delivery, the seeks and the first look of SwitchChannel hold the sample lock.
// Loading, which stops and fills the Waiting channel, holds the control lock. Operations that exchange the
// roles or stop the Playing channel hold both.
// Locks, in this order: switch-play lock (one SwitchPlay at a time; never held with the others), control
// lock, sample lock. Locks are recursive, and the sink is called with those of the operation held;
// IsAutoSwitch is asked with none, or with both control and sample lock.
// The roles are one atomic index. Settings read it once, so they reach each channel once; of the settings
// only the sample hook's takes a lock, the sample lock.
//
// One call of SwitchChannel, by the Playing channel's status S, the sink's answer A to IsAutoSwitch, a
// pending request R and elements in the Waiting channel W:
//
//   S        A      R    W    action                                        status           result
//   playing         no        none                                          Playing          TRUE
//   playing         yes  yes  exchange, stopping the old list               Switched         TRUE
//   playing         yes  no   none                                          Playing          FALSE
//   stopped  wait   no        none                                          AwaitingSwitch   TRUE
//   stopped  wait   yes  yes  exchange                                      Switched         TRUE
//   stopped  wait   yes  no   playback ends                                 Ended            FALSE
//   stopped  auto        yes  exchange                                      Switched         TRUE
//   stopped  auto        no   playback ends                                 Ended            FALSE
//
// Acting on a request resets it, records the position and releases SwitchPlay.
class CRkClipOutputChannel final : public CRkUnknown<IRkClipOutputChannel> {
 public:
  // `waits` is borrowed for the channel's whole life.
  explicit CRkClipOutputChannel(SRkChannelWaits& waits = g_rkChannelWaits);
  ~CRkClipOutputChannel() override;

  // Once, right after construction.
  BOOL _Initialize(UINT preRollCount, UINT cacheCapacity, const SRkVideoResolution& resolution,
                   const SRkWaveFormatInfo& format, IRkPlayBufferPool* pool,
                   IRkClipOutputChannelNotify* notify);

  BOOL SetSampleProcessor(IRkClipSampleProcessor* processor) override;
  void RemoveSampleProcessor() override;
  void SetVideoResolution(const SRkVideoResolution& resolution) override;
  void SetWaveFormatInfo(const SRkWaveFormatInfo& format) override;
  BOOL SetPlayBufferPool(IRkPlayBufferPool* pool) override;
  BOOL GetSample(DWORD timeoutMs, IRkAVPlaySample** sample) override;
  BOOL Play() override;
  BOOL Stop() override;
  void SetRepeatCount(int repeatCount) override;
  BOOL BeginSeek(UINT mode) override;
  BOOL Seek(UINT position, DWORD timeoutMs) override;
  void EndSeek() override;
  UINT GetElementMode(BOOL ofPlaying) override;
  void SetElementMode(BOOL ofPlaying, UINT mode, UINT position) override;
  BOOL GetPosition(UINT* position) override;
  BOOL SwitchChannel(UINT* status) override;
  BOOL SwitchChannelAtOnce() override;
  UINT Reserved() override { return 0; }
  BOOL InsertClipElement(IRkClipElementList* list, int repeatCount, UINT startPosition) override;
  BOOL InsertClipElement(IRkClipElement* element, int repeatCount, UINT startPosition) override;
  BOOL DeleteClip() override;
  BOOL SwitchPlay(UINT* position) override;

 private:
  enum class EEmptying { Stop, LetRun };  // a list that has ended needs no stop

  IRkClipSourceChannel& _Playing() const { return *m_channels[m_playingIndex]; }
  IRkClipSourceChannel& _Waiting() const { return *m_channels[1 - m_playingIndex]; }
  template <class Operation>
  void _OnAllThree(Operation operation);
  UINT _PlayingStatus() const;
  bool _WaitingHasElements() const;

  bool _FindsSomethingToDo(UINT* status, std::optional<bool>& autoSwitch);
  bool _IsAutoSwitch(std::optional<bool>& autoSwitch);
  void _TakeRequest() RK_REQUIRES(m_controlLock, m_sampleLock);
  BOOL _ServeRequest(UINT* status) RK_REQUIRES(m_controlLock, m_sampleLock);
  BOOL _PassOnAtEnd(UINT* status, bool autoSwitch) RK_REQUIRES(m_controlLock, m_sampleLock);
  void _ExchangeRoles() RK_REQUIRES(m_controlLock, m_sampleLock);
  void _Exchange(EEmptying emptying) RK_REQUIRES(m_controlLock, m_sampleLock);

  template <class Insert>
  BOOL _LoadWaitingChannel(Insert insert, int repeatCount, UINT startPosition) RK_REQUIRES(m_controlLock);
  bool _InsertAll(IRkClipElementList& list);
  BOOL _DeleteWaitingChannelClip() RK_REQUIRES(m_controlLock);

  void _NotifyWaitingChannelFree(BOOL free);
  void _NotifyPlayEnd(BOOL ended);

  SRkChannelWaits& m_waits;

  CRkCriticalSection m_switchPlayLock;
  CRkCriticalSection m_controlLock RK_ACQUIRED_BEFORE(m_sampleLock);
  CRkCriticalSection m_sampleLock;

  // Two that trade the roles of Playing and Waiting, and the Seeking channel; set once.
  std::array<CRkRef<IRkClipSourceChannel>, 3> m_channels;
  std::atomic<UINT> m_playingIndex = 0;  // written under both locks
  CRkRef<IRkClipOutputChannelNotify> m_notify;

  CRkSwitchRequest m_request;
  CRkOnAirSound m_onAirSound;                            // delivers under the sample lock
  bool m_stopping RK_GUARDED_BY(m_controlLock) = false;  // inside Stop's own notifications
};
