#pragma once

#include <values/export.h>

#include <QString>

namespace values {

class ValueBase;

/// An originator that wants to know what becomes of its changes of plain values where another process decides
/// on them: an IObserver that is also this. Such changes are made by comparison, so a change that was made in
/// ignorance of another one is a conflict, and its author may make it anew upon what is there by then. On the
/// tree's thread.
class KOLTA_VALUES_EXPORT IWishAuthor
{
public:
    virtual ~IWishAuthor();

    enum class WishEnd {
        Done,     ///< it counts
        Conflict, ///< somebody else was faster
        Failed    ///< it was undone, or nobody knows whether it counts
    };
    /// A link has just taken the author's change of `value` to another process. Called in the middle of the
    /// change: it is no time to change anything.
    virtual void OnWishMade(ValueBase& value) = 0;
    /// What became of the change that had made `written` the text of the value, once for each OnWishMade().
    /// With a conflict `valid` is the text that is in force; whoever changes the value at once, with itself
    /// as the originator, changes that one. True when the author has done so, or will when its later changes
    /// have ended: then nobody is told of a failure. The value is null when it is gone.
    virtual bool OnWishEnded(ValueBase* value, WishEnd end, const QString& written, const QString& valid) = 0;

    IWishAuthor(const IWishAuthor&) = delete;
    IWishAuthor& operator=(const IWishAuthor&) = delete;

protected:
    IWishAuthor() = default;
};

} // namespace values
