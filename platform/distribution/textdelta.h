#pragma once

#include <distribution/export.h>
#include <distribution/messages.h>

#include <functional>
#include <optional>

namespace distribution {

/// \file
/// A text as a difference from another: runs of bytes that are copied from the old one or inserted. Runs are
/// `u8` 0, `u32` offset, `u32` count for a copy and `u8` 1, `u32` count, bytes for an insertion.

/// The runs that make `to` of `from`; empty only when `to` is. Takes time in proportion to both lengths.
KOLTA_DISTRIBUTION_EXPORT Bytes MakeRuns(const Bytes& from, const Bytes& to);
/// The same of the part of a text that is replaced.
KOLTA_DISTRIBUTION_EXPORT Bytes MakeRuns(const values::TextSplice& splice);
/// Nothing when runs are malformed, reach outside `from` or make more than `maximumBytes`.
KOLTA_DISTRIBUTION_EXPORT std::optional<Bytes> ApplyRuns(const Bytes& from, const Bytes& runs,
                                                         std::size_t maximumBytes);

/// The one part that runs replace, where they keep everything before and behind it and it is not large;
/// nothing for others, and where ApplyRuns() would have nothing. Of the text, which has `formerBytes`, only
/// what is removed is asked for.
KOLTA_DISTRIBUTION_EXPORT std::optional<values::TextSplice>
AsSplice(std::size_t formerBytes, const std::function<Bytes(std::size_t offset, std::size_t count)>& partOf,
         const Bytes& runs, std::size_t maximumBytes);
/// The text with the part replaced.
KOLTA_DISTRIBUTION_EXPORT Bytes Spliced(const Bytes& from, const values::TextSplice& splice);
/// The change that turns an item's content `from` into `to` in the fewest bytes: Delta, or Set for contents
/// of at most Limits::kSmallContent bytes and where runs have more than half as many.
KOLTA_DISTRIBUTION_EXPORT Change MakeContentChange(quint32 id, const QString& path, const Content& from,
                                                   const Content& to);

} // namespace distribution
