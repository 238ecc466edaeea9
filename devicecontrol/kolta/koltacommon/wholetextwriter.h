#pragma once

#include <koltacommon/export.h>

#include <values/lifetime.h>
#include <values/value.h>
#include <values/wishauthor.h>

#include <QString>

#include <deque>

namespace REPORTGENERATOR {
class IRGObject;
}

namespace Kolta {

/// Part of an observer that writes whole texts which it has made from those that it has read, so that it
/// loses no change of another process: where another one was faster, what this one has changed is made again
/// in the text of that one, until it counts or fails for another reason. Lives on the value tree's thread; it
/// may die while changes are under way, which are then not made again.
class KOLTA_COMMON_EXPORT WholeTextWriter : public values::IWishAuthor
{
public:
    ~WholeTextWriter() override;

    void OnWishMade(values::ValueBase& value) override;
    bool OnWishEnded(values::ValueBase* value, WishEnd end, const QString& written,
                     const QString& valid) override;

protected:
    WholeTextWriter();

    /// Sets the text and tells everybody but `self`, the observer whose part this is. The text stands upon
    /// that which the value has. False when it has this one already or is deleted. Whoever hears of it may
    /// delete this.
    bool writeText(values::StringValue& value, const QString& text, IObserver* self);

    /// The text that `valid` becomes by what was changed from `before` to `mine`; a null one when there is
    /// none.
    virtual QString mergeTexts(const QString& before, const QString& mine, const QString& valid) const = 0;
    /// The value has a merged text, which this writer's observer has not heard of. It may delete this.
    virtual void onMerged() {}

    /// mergeTexts() of three objects of one class.
    static QString mergeObjects(REPORTGENERATOR::IRGObject& before, REPORTGENERATOR::IRGObject& mine,
                                REPORTGENERATOR::IRGObject& valid, const QString& beforeText,
                                const QString& mineText, const QString& validText);
    template<class T>
    static QString mergeTextsOf(const QString& before, const QString& mine, const QString& valid)
    {
        T first, second, third;
        return mergeObjects(first, second, third, before, mine, valid);
    }

private:
    bool makeAgain(values::StringValue& value, const QString& valid);

    values::Weak<values::ValueBase> m_value; ///< that was written last
    values::Weak<IObserver> m_self;
    QString m_before;            ///< text upon which the first of the open changes stands
    QString m_newest;            ///< text that was written last
    std::deque<QString> m_open;  ///< texts of the changes that have not ended, oldest first
    bool m_isConflicted = false; ///< one of these or of those right before them was
};

} // namespace Kolta
