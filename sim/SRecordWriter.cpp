#include "SRecordWriter.h"

#include "HexText.h"

#include <cerrno>
#include <cstring>
#include <fstream>

namespace strelosim {

std::string SRecordWriter::Record(char type, std::uint32_t address, std::size_t addressOctets, const std::uint8_t *data,
                                  std::size_t size)
{
    Bytes body {static_cast<std::uint8_t>(addressOctets + size + 1)};
    for (std::size_t i = addressOctets; i-- > 0;)
        body.push_back(static_cast<std::uint8_t>(address >> (8 * i)));
    body.insert(body.end(), data, data + size);
    unsigned sum = 0;
    for (const std::uint8_t b : body)
        sum += b;
    body.push_back(static_cast<std::uint8_t>(~sum));
    return std::string("S") + type + HexText::Compact(body) + "\r\n";
}

std::string SRecordWriter::Text(const FlashMemory &memory)
{
    std::string text = Record('0', 0, 2, reinterpret_cast<const std::uint8_t *>(kHeader.data()), kHeader.size());
    for (const FlashMemory::Run &run : memory.Runs()) {
        for (std::size_t offset = 0; offset < run.bytes.size(); offset += kBytesPerRecord) {
            const std::size_t size = std::min(kBytesPerRecord, run.bytes.size() - offset);
            text += Record('3', run.address + static_cast<std::uint32_t>(offset), 4, run.bytes.data() + offset, size);
        }
    }
    text += Record('7', 0, 4, nullptr, 0);
    return text;
}

bool SRecordWriter::WriteFile(const std::string &path, const FlashMemory &memory, std::string &error)
{
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    if (file) {
        file << Text(memory);
        file.flush();
    }
    if (!file) {
        error = "cannot write the image to " + path + " (" + std::strerror(errno) + ")";
        return false;
    }
    return true;
}

} // namespace strelosim
