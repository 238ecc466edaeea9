#pragma once

#include <xmlmessaging/xmlmessage.h>

#include <QLocale>

/// \file
/// What the request converters have in common; private to this folder.

namespace XmlCommon {

/// A fragment that asks `component` for the operation that the request tree's root element names.
inline CMsgFragment requestFragment(const char* component, const CDataTree& request)
{
    CMsgFragment fragment{QString::fromLatin1(component)};
    fragment.setRequestTree(CRequestTree(request));
    return fragment;
}

inline CConstElement requestRoot(const CMsgFragment& fragment)
{
    return fragment.getRequestTree().getDataTree().root();
}

inline bool asksFor(const CMsgFragment& fragment, const char* component, const char* operation)
{
    return fragment.getComponentName() == QLatin1String(component) &&
           requestRoot(fragment).hasName(operation);
}

/// The shortest text that reads back equal; `number` is finite.
inline QString shortest(double number)
{
    return QString::number(number, 'g', QLocale::FloatingPointShortest);
}

inline QString truthText(bool truth)
{
    return truth ? QStringLiteral("true") : QStringLiteral("false");
}

} // namespace XmlCommon
