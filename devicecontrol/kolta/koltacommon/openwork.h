#pragma once

namespace Kolta {

/// Counts, on the thread that makes it, something that a program should see the end of before it ends itself.
/// Operation::settleAll() waits until none is left.
class OpenWork
{
public:
    OpenWork() noexcept { ++count; }
    ~OpenWork() { --count; }
    OpenWork(const OpenWork&) = delete;
    OpenWork& operator=(const OpenWork&) = delete;

    /// On this thread.
    static int open() noexcept { return count; }

private:
    static thread_local int count;
};

} // namespace Kolta
