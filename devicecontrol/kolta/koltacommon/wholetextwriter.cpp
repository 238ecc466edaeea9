#include <koltacommon/wholetextwriter.h>

#include <koltacommon/tavikxmlhelpers.h>

#include <resourcemodel/merge.h>

#include <startup/tracesource.h>

#include <algorithm>
#include <utility>

namespace Kolta {

using REPORTGENERATOR::IRGObject;
using REPORTGENERATOR::MergeChanges;
using values::StringValue;
using values::ValueBase;

namespace {

enum eTracePoint : int { eNotMerged = 100 };
constexpr Startup::TraceSource kTrace("devicecontrol/kolta/koltacommon/wholetextwriter");

} // namespace

WholeTextWriter::WholeTextWriter() = default;
WholeTextWriter::~WholeTextWriter() = default;

bool WholeTextWriter::writeText(StringValue& value, const QString& text, IObserver* self)
{
    if (m_value.Get() != &value || m_open.empty()) {
        m_value = values::Weak<ValueBase>(&value);
        m_open.clear();
        m_isConflicted = false;
        m_before = value.GetValue();
    }
    m_self = values::Weak<IObserver>(self);
    m_newest = text;
    return value.SetValue(text, self); // last: whoever hears of it may delete this
}

void WholeTextWriter::OnWishMade(ValueBase& value)
{
    if (m_value.Get() == &value)
        m_open.push_back(m_newest);
}

bool WholeTextWriter::OnWishEnded(ValueBase* value, WishEnd end, const QString& written, const QString& valid)
{
    const auto wish = std::find(m_open.begin(), m_open.end(), written);
    if ((value && m_value.Get() != value) || wish == m_open.end())
        return false;
    m_open.erase(wish);
    if (!value)
        return false;
    if (end == WishEnd::Done)
        m_before = written;
    m_isConflicted = m_isConflicted || end == WishEnd::Conflict;
    if (!m_open.empty())
        return end == WishEnd::Conflict; // what it has changed is in the later ones too
    if (!std::exchange(m_isConflicted, false) || end != WishEnd::Conflict)
        return false;
    return makeAgain(dynamic_cast<StringValue&>(*value), valid);
}

/// While the change was open the value kept the text of this writer; a text that it has already would go
/// nowhere, so such a value is made valid first.
bool WholeTextWriter::makeAgain(StringValue& value, const QString& valid)
{
    const QString merged = mergeTexts(m_before, m_newest, valid);
    if (merged.isNull())
        return false;
    if (merged == valid)
        return true; // others have done the same, and the link shows it
    const values::Weak<IObserver> self = m_self;
    const values::Weak<ValueBase> alive = m_value;
    m_before = valid;
    if (merged == value.GetValue()) {
        m_newest = valid;
        value.SetValue(valid, self.Get());
    }
    if (!self || !alive)
        return true;
    m_newest = merged;
    value.SetValue(merged, self.Get());
    if (self)
        onMerged();
    return true;
}

QString WholeTextWriter::mergeObjects(IRGObject& before, IRGObject& mine, IRGObject& valid,
                                      const QString& beforeText, const QString& mineText,
                                      const QString& validText)
{
    using TavikXmlHelpers::parseResourceManagementObject;
    // What nobody can read is replaced, as by a writer that comes later.
    if (!parseResourceManagementObject(valid, validText).isEmpty())
        return mineText;
    if (!parseResourceManagementObject(before, beforeText).isEmpty())
        before.Reset();
    try {
        mine.SetXmlString(mineText, false);
        MergeChanges(before, mine, valid);
        return valid.GetXmlString();
    } catch (const REPORTGENERATOR::RGException& exception) {
        kTrace(eNotMerged, QStringLiteral("A change cannot be made again upon what another process has "
                                          "written: %1")
                               .arg(exception.GetText()));
        return QString();
    }
}

} // namespace Kolta
