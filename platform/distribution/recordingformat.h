#pragma once

#include <QtGlobal>

#include <cstddef>

namespace distribution {

// Places in the file of a recording that its writer and its reader share.

constexpr char kRecordingMagic[] = "KOLTALOG";
constexpr std::size_t kRecordingMagicBytes = 8;
constexpr quint16 kRecordingMajor = 1;
constexpr quint16 kRecordingMinor = 0;
constexpr std::size_t kRecordingHeadBytes = kRecordingMagicBytes + 4;
/// Length and checksum of a record; its kind and time begin the body.
constexpr std::size_t kRecordFrameBytes = 8;
constexpr std::size_t kRecordStartBytes = 9;
constexpr std::size_t kRecordingTextBytes = 4096; ///< at most

} // namespace distribution
