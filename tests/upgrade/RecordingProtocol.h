#pragma once

#include "firmware/COSLProtocol.h"

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <vector>

// The boot-loader protocol with its results and its sent frames recorded, for tests that play the
// boot loader on the far end of a pseudo-terminal.
class RecordingProtocol : public COSLProtocol
{
public:
    using Clock = std::chrono::steady_clock;

    struct Sent
    {
        ByteVector bytes;
        Clock::time_point at;
    };

    ~RecordingProtocol() override
    {
        StopThread();
        Close();
    }

    bool WaitForResults(std::size_t count, int timeoutMs)
    {
        std::unique_lock lock(m_mutex);
        return m_changed.wait_for(lock, std::chrono::milliseconds(timeoutMs),
                                  [&] { return m_results.size() >= count; });
    }
    std::vector<OSL_RESULT> Results()
    {
        std::lock_guard lock(m_mutex);
        return m_results;
    }
    std::vector<Sent> SentFrames()
    {
        std::lock_guard lock(m_mutex);
        return m_sent;
    }

    void TraceBytes(int level, int direction, const ByteVector &data) override
    {
        if (direction != kDirectionSent)
            return;
        std::lock_guard lock(m_mutex);
        m_sent.push_back({data, Clock::now()});
    }

protected:
    void CommandResult(OSL_RESULT result) override
    {
        std::lock_guard lock(m_mutex);
        m_results.push_back(result);
        m_changed.notify_all();
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::vector<OSL_RESULT> m_results;
    std::vector<Sent> m_sent;
};
