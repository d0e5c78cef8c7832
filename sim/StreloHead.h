#pragma once

#include "BootLoader.h"
#include "EventLog.h"
#include "FrameCodec.h"
#include "HeadApplication.h"
#include "LinkReferee.h"
#include "SecondaryStation.h"

#include <memory>

namespace strelosim {

// One Strelo head behind its serial port: the link station with its application while the head
// runs its firmware, or the boot loader after the master ordered the switch to firmware upload
// mode. Bytes from the master go in; the answers to put on the line come out.
class StreloHead
{
public:
    StreloHead(const HeadConfig &config, EventLog &log);
    ~StreloHead();

    std::vector<Transmission> Receive(const std::uint8_t *data, std::size_t size, TimePoint now);
    // The master closed its end of the line: whatever was half received is forgotten.
    void PortClosed(TimePoint now);
    // On a slow paced line the bytes of one telegram arrive far apart; a telegram in progress is
    // given up only after a pause of several character times.
    void SetCharacterTime(std::chrono::nanoseconds characterTime);

    bool InBootLoader() const { return m_bootLoader != nullptr; }
    std::uint8_t LinkAddress() const { return m_station->Address(); }
    const Version &Software() const { return m_config.software; }
    const HeadApplication &Application() const { return *m_application; }
    const BootLoader *Loader() const { return m_bootLoader.get(); }
    const LinkReferee &Referee() const { return m_referee; }

    // The head's link speed, by the code the switch-over telegram carries (2400 for an unknown one).
    static unsigned UploadRate(std::uint8_t baudCode);

private:
    std::size_t ReceiveLink(const std::uint8_t *data, std::size_t size, TimePoint now, std::vector<Transmission> &answers);
    std::size_t ReceiveBoot(const std::uint8_t *data, std::size_t size, TimePoint now, std::vector<Transmission> &answers);
    void Handle(const LinkFrame &frame, TimePoint now, std::vector<Transmission> &answers);
    void EnterBootLoader(const HeadApplication::UploadRequest &request, TimePoint now);
    void PowerUp();
    void LogNoise(TimePoint now);

    HeadConfig m_config;
    EventLog &m_log;
    // Outlives restarts: it counts for the whole run.
    LinkReferee m_referee;
    FrameCodec m_codec;
    Clock::duration m_staleAfter = FrameCodec::kDefaultStaleAfter;
    std::unique_ptr<HeadApplication> m_application;
    std::unique_ptr<SecondaryStation> m_station;
    std::unique_ptr<BootLoader> m_bootLoader;
};

} // namespace strelosim
