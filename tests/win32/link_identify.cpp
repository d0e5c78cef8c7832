// The link procedure on the platform's own port, timer and lock classes (the native aliases):
// the protocol core below the widgets identifies strelo-sim. Built twice, for Linux over the
// POSIX classes and with mingw-w64 over the Win32 classes (run under wine), from this one source;
// both write the telegrams they sent first to LICHTWART_LINK_TRANSCRIPT, and the test compares
// the two files byte for byte.
#include "TestRunner.h"
#include "tls/CStreloDevice.h"

#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <string>
#include <vector>

namespace {

constexpr int kBaud9600 = 6;
constexpr std::size_t kTranscriptTelegrams = 10;
constexpr auto kIdentifyWithin = std::chrono::seconds(20);

std::string Environment(const char *name)
{
    const char *value = std::getenv(name);
    return value != nullptr ? value : "";
}

class IdentifyingDevice : public CStreloDevice
{
public:
    ~IdentifyingDevice() override { ShutDown(); }

    // Waits until the head's versions, product and UID have all been reported.
    bool WaitForIdentity()
    {
        std::unique_lock lock(m_mutex);
        return m_changed.wait_for(lock, kIdentifyWithin, [&] { return m_deviceSeen && !m_uid.empty(); });
    }
    std::vector<int> Versions() { return Locked(m_versions); }
    const STRELO_PRODUCT *Product() { return Locked(m_product); }
    std::string Uid() { return Locked(m_uid); }
    // The telegrams sent, in order; a repetition of the telegram before it is left out, since
    // whether the response timer runs out on a loaded machine is a matter of timing.
    std::vector<ByteVector> Sent() { return Locked(m_sent); }

protected:
    void LinkChanged(bool up) override
    {
        // The start-up jobs the program queues at every link-up.
        if (up)
            QueueStartUpSequence(false, 0);
    }
    void OnUserData(const ByteVector &telegram) override { DispatchReply(telegram); }
    void OnVersion(int hwMajor, int hwMinor, int hwRevision, int swMajor, int swMinor, int swRelease) override
    {
        Update([&] { m_versions = {hwMajor, hwMinor, hwRevision, swMajor, swMinor, swRelease}; });
    }
    void OnDevice(const STRELO_PRODUCT *product) override
    {
        Update([&] {
            m_product = product;
            m_deviceSeen = true;
        });
    }
    void OnUID(const std::string &uid) override
    {
        Update([&] { m_uid = uid; });
    }
    void TraceBytes(int level, int direction, const ByteVector &data) override
    {
        if (direction != kDirectionSent)
            return;
        Update([&] {
            if (m_sent.empty() || m_sent.back() != data)
                m_sent.push_back(data);
        });
    }

private:
    template<typename Change>
    void Update(Change change)
    {
        {
            std::lock_guard lock(m_mutex);
            change();
        }
        m_changed.notify_all();
    }
    template<typename T>
    T Locked(const T &member)
    {
        std::lock_guard lock(m_mutex);
        return member;
    }

    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::vector<int> m_versions;
    const STRELO_PRODUCT *m_product = nullptr;
    bool m_deviceSeen = false;
    std::string m_uid;
    std::vector<ByteVector> m_sent;
};

bool WriteTranscript(const std::vector<ByteVector> &sent)
{
    const std::string path = Environment("LICHTWART_LINK_TRANSCRIPT");
    if (path.empty())
        return true;
    std::FILE *file = std::fopen(path.c_str(), "wb");
    if (file == nullptr)
        return false;
    for (std::size_t i = 0; i < sent.size() && i < kTranscriptTelegrams; ++i)
        std::fprintf(file, "%s\n", TestRunner::Hex(sent[i]).c_str());
    return std::fclose(file) == 0;
}

} // namespace

W32_TEST(linkIdentifiesStreloSim)
{
    IdentifyingDevice device;
    const std::string port = Environment("LICHTWART_W32_PORT");
    W32_CHECK(!port.empty());
    W32_CHECK(device.OpenLink(port, kBaud9600, false));
    device.Connect(1, 1);
    W32_CHECK(device.WaitForIdentity());
    W32_CHECK(device.IsLinkUp());
    // strelo-sim's defaults: hardware 2.1.0, software 1.4.2, a 12-octet UID.
    W32_CHECK_EQ(device.Versions(), (std::vector<int> {2, 1, 0, 1, 4, 2}));
    W32_CHECK(device.Product() != nullptr);
    W32_CHECK(device.Product()->id == PRODUCT_TEXT("strelo-002"));
    W32_CHECK_EQ(device.Uid(), std::string("5354524C - 0002913E - 4A7C05D2"));
    device.Disconnect();

    const std::vector<ByteVector> sent = device.Sent();
    W32_CHECK(sent.size() >= kTranscriptTelegrams);
    // Status request, reset, first poll: the link comes up after exactly these three.
    W32_CHECK_EQ(sent[0], (ByteVector {0x10, 0x49, 0x01, 0x4A, 0x16}));
    W32_CHECK_EQ(sent[1], (ByteVector {0x10, 0x40, 0x01, 0x41, 0x16}));
    W32_CHECK_EQ(sent[2], (ByteVector {0x10, 0x78, 0x01, 0x79, 0x16}));
    for (std::size_t i = 0; i < kTranscriptTelegrams; ++i)
        std::printf("       sent %2zu: %s\n", i + 1, TestRunner::Hex(sent[i]).c_str());
    W32_CHECK(WriteTranscript(sent));
}

int main(int argc, char **argv)
{
    return TestRunner::Run(argc, argv);
}
