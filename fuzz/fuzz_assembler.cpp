// The receive assembler of the link layer, fed an arbitrary byte stream. One link gets the stream a
// byte at a time, so every telegram it hands up can be checked against the bytes that made it:
// start, length, control, address, data, checksum and end octet where the frame format puts them.
// A second link gets the same stream in deliveries of arbitrary size (the first input byte seeds
// the split) and must hand up the same telegrams. User data may pile up without bound only in the
// documented case: a long telegram whose length octet is 0 or 1. A third link gets the stream in
// pieces with the line falling quiet before some of them: the character time-out drops partial
// telegrams, and every telegram that is still handed up must be sound.

#include "RecordingLink.h"

#include <cstdint>
#include <cstdlib>

namespace {

constexpr std::size_t kMaxUserData = 253;

void Check(bool condition)
{
    if (!condition)
        std::abort();
}

// Positions below are indices into the stream; `end` is the index of the end octet 0x16.
void CheckShort(const ByteVector &in, const RecordingLink::Event &event)
{
    Check(event.fed >= 5);
    const std::size_t end = event.fed - 1;
    Check(in[end] == CTlsOsi2::kEnd && in[end - 4] == CTlsOsi2::kStartShort);
    Check(in[end - 3] == event.control && in[end - 2] == event.address);
    Check(in[end - 1] == static_cast<std::uint8_t>(event.control + event.address));
}

void CheckLong(const ByteVector &in, const RecordingLink::Event &event)
{
    const std::size_t n = event.userData.size();
    Check(n >= 1 && n <= kMaxUserData);
    Check(event.fed >= n + 8);
    const std::size_t start = event.fed - 1 - (n + 7);
    Check(in[start] == CTlsOsi2::kStartLong && in[start + 1] == n + 2);
    Check(in[start + 4] == event.control && in[start + 5] == event.address);
    unsigned sum = event.control + event.address;
    for (std::size_t i = 0; i < n; ++i) {
        Check(in[start + 6 + i] == event.userData[i]);
        sum += event.userData[i];
    }
    Check(in[start + 6 + n] == static_cast<std::uint8_t>(sum));
    Check(in[start + 7 + n] == CTlsOsi2::kEnd);
}

void CheckErrors(const RecordingLink &link)
{
    for (const std::string &text : link.Errors()) {
        const bool shortForm = text.rfind("CTlsOsi2::AssemblyError: ", 0) == 0;
        const bool longForm = text.rfind("CTlsOsi2::AssmblyError:Data stream out of sync / Assembler state: Idle / "
                                         "byte processed: 0x", 0) == 0;
        Check(shortForm || longForm);
    }
}

// Only a long telegram announcing L = 0 or 1 keeps the assembler taking data beyond 253 octets.
void CheckGrowth(const ByteVector &in, const RecordingLink &link)
{
    const std::size_t pending = link.PendingUserData();
    if (link.State() != CTlsOsi2::kMoreData) {
        Check(pending <= kMaxUserData);
        return;
    }
    Check(in.size() >= pending + 6);
    const std::size_t start = in.size() - pending - 6;
    Check(in[start] == CTlsOsi2::kStartLong);
    if (pending > kMaxUserData)
        Check(in[start + 1] <= 1);
}

ByteVector Stream(const std::uint8_t *data, std::size_t size)
{
    return ByteVector(data + 1, data + size);
}

// The stream in pieces of 1 to 64 bytes. With `pauses`, the line falls quiet before about one
// piece in four, and the bytes go in one at a time so that every event knows its position.
void FeedInPieces(RecordingLink &link, const ByteVector &in, std::uint32_t seed, bool pauses)
{
    std::size_t at = 0;
    while (at < in.size()) {
        seed = seed * 1103515245u + 12345u;
        const std::size_t piece = 1 + (seed >> 16) % 64;
        const std::size_t count = std::min(piece, in.size() - at);
        if (!pauses) {
            link.Feed(ByteVector(in.begin() + at, in.begin() + at + count));
        } else {
            for (std::size_t i = at; i < at + count; ++i) {
                if (i == at && (seed >> 8) % 4 == 0)
                    link.FeedAfterPause({in[i]});
                else
                    link.Feed({in[i]});
            }
        }
        at += count;
    }
}

void CheckEvents(const ByteVector &in, const RecordingLink &link)
{
    for (const RecordingLink::Event &event : link.Events()) {
        if (event.kind == RecordingLink::Event::Ack)
            Check(in[event.fed - 1] == CTlsOsi2::kAck);
        else if (event.kind == RecordingLink::Event::Short)
            CheckShort(in, event);
        else
            CheckLong(in, event);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    if (size == 0)
        return 0;
    const ByteVector in = Stream(data, size);

    RecordingLink byByte;
    for (std::uint8_t octet : in)
        byByte.Feed({octet});
    CheckEvents(in, byByte);
    CheckErrors(byByte);
    CheckGrowth(in, byByte);

    RecordingLink inPieces;
    FeedInPieces(inPieces, in, data[0], false);
    Check(inPieces.Events() == byByte.Events());
    Check(inPieces.Errors() == byByte.Errors());

    // Pauses drop partial telegrams; whatever is still handed up is a sound telegram.
    RecordingLink withPauses;
    FeedInPieces(withPauses, in, data[0], true);
    CheckEvents(in, withPauses);
    CheckErrors(withPauses);
    return 0;
}
