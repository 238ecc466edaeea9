#include <distribution/statetransfer.h>

#include <libdeflate.h>

#include <algorithm>
#include <memory>
#include <utility>

namespace distribution {

namespace {

/// Smaller states are not worth the packing.
constexpr std::size_t kUnpackedBytes = 4096;

constexpr int kFastest = 1;

/// Empty when it does not become smaller.
Bytes packed(const Bytes& whole)
{
    if (whole.size() <= kUnpackedBytes)
        return Bytes();
    const std::unique_ptr<libdeflate_compressor, decltype(&libdeflate_free_compressor)> compressor(
        libdeflate_alloc_compressor(kFastest), &libdeflate_free_compressor);
    if (!compressor)
        return Bytes();
    Bytes bytes(whole.size() - 1, '\0');
    bytes.resize(
        libdeflate_zlib_compress(compressor.get(), whole.data(), whole.size(), &bytes[0], bytes.size()));
    return bytes;
}

bool unpack(Bytes& bytes, std::size_t wholeBytes)
{
    const std::unique_ptr<libdeflate_decompressor, decltype(&libdeflate_free_decompressor)> decompressor(
        libdeflate_alloc_decompressor(), &libdeflate_free_decompressor);
    Bytes whole(wholeBytes, '\0');
    // Without a place for their number exactly so many bytes have to come.
    const bool isWhole =
        decompressor && libdeflate_zlib_decompress(decompressor.get(), bytes.data(), bytes.size(), &whole[0],
                                                   whole.size(), nullptr) == LIBDEFLATE_SUCCESS;
    bytes = std::move(whole);
    return isWhole;
}

Publication partPublication(const Bytes& topic, std::size_t part, Bytes payload)
{
    return {topic + '/' + std::to_string(part), std::move(payload), Delivery::AtLeastOnce, true, 0};
}

} // namespace

std::vector<Publication> Pack(const StateCut& cut)
{
    Bytes bytes = EncodeSnapshot(cut.snapshot);
    StatePart part;
    part.epoch = cut.epoch;
    part.number = cut.number;
    part.wholeBytes = static_cast<quint32>(bytes.size());
    part.checksum = Checksum(bytes);
    if (Bytes smaller = packed(bytes); !smaller.empty()) {
        bytes = std::move(smaller);
        part.packed = true;
    }
    const std::size_t parts = std::max<std::size_t>(1, (bytes.size() + cut.partBytes - 1) / cut.partBytes);
    part.parts = static_cast<quint16>(parts);
    std::vector<Publication> publications;
    for (std::size_t i = 0; i < parts; ++i) {
        const std::size_t start = i * cut.partBytes;
        part.part = static_cast<quint16>(i);
        part.bytes = values::ByteReader(bytes.data() + start, std::min(cut.partBytes, bytes.size() - start));
        publications.push_back(partPublication(cut.topic, i, Encode(part)));
    }
    for (std::size_t i = parts; i < cut.clearUpTo; ++i)
        publications.push_back(partPublication(cut.topic, i, Bytes()));
    return publications;
}

StateAssembler::Progress StateAssembler::Take(const StatePart& part, State& state)
{
    if (!m_parts.empty() && part.number < m_number)
        return Progress::Partial;
    // Two states of one number may differ in the order of their items.
    if (part.number != m_number || part.parts != m_count || part.checksum != m_checksum)
        Clear();
    m_number = part.number;
    m_count = part.parts;
    m_checksum = part.checksum;
    Bytes& kept = m_parts[part.part]; // one may come again, with another length if somebody is hostile
    m_bytes += part.bytes.Remaining() - kept.size();
    if (m_bytes > m_maximumBytes) {
        Clear();
        return Progress::Broken;
    }
    kept.assign(part.bytes.Position(), part.bytes.Remaining());
    if (m_parts.size() < m_count)
        return Progress::Partial;
    m_bytes = 0;
    const auto parts = std::exchange(m_parts, {});
    Bytes whole;
    for (const auto& [number, bytes] : parts)
        whole += bytes;
    const bool sized = part.wholeBytes <= m_maximumBytes && (!part.packed || unpack(whole, part.wholeBytes));
    if (!sized || whole.size() != part.wholeBytes || Checksum(whole) != part.checksum)
        return Progress::Broken;
    auto snapshot = DecodeSnapshot(whole);
    if (!snapshot)
        return Progress::Broken;
    state.number = part.number;
    state.snapshot = std::move(*snapshot);
    return Progress::Complete;
}

} // namespace distribution
