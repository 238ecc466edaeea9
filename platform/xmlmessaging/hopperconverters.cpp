#include "hopperconverters.h"

#include "converterparts.h"

#include <cmath>
#include <limits>
#include <type_traits>

using XmlCommon::CConstElement;
using XmlCommon::CDataTree;
using XmlCommon::CElement;
using XmlCommon::CMsgFragment;

namespace SigVConverter {

namespace {

using HopperProfile = CFHSeparationParameters::struHopperProfile;
using ProductionSetup = CQueryHopperProduction::struProductionSetup;

constexpr char kSeparation[] = "HopperSeparation";
constexpr char kProduction[] = "HopperProduction";

/// Reads attributes and remembers whether one of them was bad.
class AttributeReader
{
public:
    bool isGood() const noexcept { return m_good; }

    void read(CConstElement element, const char* name, bool& value)
    {
        const QString text = element.attribute(name);
        value = text == QLatin1String("true");
        m_good = m_good && (value || text == QLatin1String("false") || !element.hasAttribute(name));
    }

    void read(CConstElement element, const char* name, double& value)
    {
        if (!element.hasAttribute(name))
            return;
        bool ok = false;
        value = element.attribute(name).toDouble(&ok);
        m_good = m_good && ok && std::isfinite(value);
    }

    template<typename Number>
    void read(CConstElement element, const char* name, Number& value)
    {
        if (!element.hasAttribute(name))
            return;
        bool ok = false;
        if constexpr (std::is_unsigned_v<Number>) {
            const quint64 number = element.attributeToUInt(name, &ok);
            ok = ok && number <= std::numeric_limits<Number>::max();
            value = static_cast<Number>(number);
        } else {
            const qint64 number = element.attribute(name).toLongLong(&ok);
            ok = ok && number >= std::numeric_limits<Number>::min() &&
                 number <= std::numeric_limits<Number>::max();
            value = static_cast<Number>(number);
        }
        m_good = m_good && ok;
    }

    template<typename Number>
    void readRange(CConstElement element, bool& use, Number& lowest, Number& highest)
    {
        read(element, "use", use);
        read(element, "min", lowest);
        read(element, "max", highest);
    }

private:
    bool m_good = true;
};

template<typename Number>
void appendRange(CElement parent, const char* name, bool use, Number lowest, Number highest)
{
    CElement element = parent.append(name);
    element.setAttribute("use", XmlCommon::truthText(use));
    element.setAttribute("min", quint64(lowest));
    element.setAttribute("max", quint64(highest));
}

void appendValue(CElement parent, const char* name, bool use, const QString& value)
{
    CElement element = parent.append(name);
    element.setAttribute("use", XmlCommon::truthText(use));
    element.setAttribute("value", value);
}

CDataTree treeOf(QLatin1String rootName, const QVector<HopperProfile>& profiles)
{
    CDataTree tree(rootName);
    CElement root = tree.editRoot();
    for (const HopperProfile& profile : profiles) {
        CElement element = root.append("Profile");
        element.setAttribute("name", profile.name);
        element.setAttribute("hopper", XmlCommon::truthText(profile.hopperFlag));
        appendRange(element, "Frequency", profile.useFrequency, profile.frequencyMin, profile.frequencyMax);
        appendRange(element, "Duration", profile.useDuration, profile.durationMin, profile.durationMax);
        appendRange(element, "Bandwidth", profile.useBandwidth, profile.bandwidthMin, profile.bandwidthMax);
        appendValue(element, "HopRate", profile.useHopRate, XmlCommon::shortest(profile.hopRate));
        appendRange(element, "SymbolRate", profile.useSymbolRate, profile.symbolRateMin,
                    profile.symbolRateMax);
        appendRange(element, "Shift", profile.useShift, profile.shiftMin, profile.shiftMax);
        appendValue(element, "Modulation", profile.useModulation, QString::number(profile.modulation));
    }
    return tree;
}

HopperProfile readProfile(AttributeReader& reader, CConstElement element)
{
    HopperProfile profile;
    profile.name = element.attribute("name");
    reader.read(element, "hopper", profile.hopperFlag);
    reader.readRange(element.child("Frequency"), profile.useFrequency, profile.frequencyMin,
                     profile.frequencyMax);
    reader.readRange(element.child("Duration"), profile.useDuration, profile.durationMin,
                     profile.durationMax);
    reader.readRange(element.child("Bandwidth"), profile.useBandwidth, profile.bandwidthMin,
                     profile.bandwidthMax);
    reader.read(element.child("HopRate"), "use", profile.useHopRate);
    reader.read(element.child("HopRate"), "value", profile.hopRate);
    reader.readRange(element.child("SymbolRate"), profile.useSymbolRate, profile.symbolRateMin,
                     profile.symbolRateMax);
    reader.readRange(element.child("Shift"), profile.useShift, profile.shiftMin, profile.shiftMax);
    reader.read(element.child("Modulation"), "use", profile.useModulation);
    reader.read(element.child("Modulation"), "value", profile.modulation);
    return profile;
}

/// Everything but the server's own values.
void appendSetup(CElement element, const ProductionSetup& setup)
{
    element.setAttribute("ffp", setup.ffpGuid);
    element.setAttribute("resource", quint64(setup.resourceId));
    element.setAttribute("radio", quint64(setup.radioId));
    element.setAttribute("enabled", XmlCommon::truthText(setup.enabled));
    element.setAttribute("autoRecording", XmlCommon::truthText(setup.autoRecording));
    element.setAttribute("minCoverage", quint64(setup.minCoverage));
    for (const QString& name : setup.profiles)
        element.append("Profile", name);
}

ProductionSetup readSetup(AttributeReader& reader, CConstElement element)
{
    ProductionSetup setup;
    setup.ffpGuid = element.attribute("ffp");
    reader.read(element, "resource", setup.resourceId);
    reader.read(element, "radio", setup.radioId);
    reader.read(element, "enabled", setup.enabled);
    reader.read(element, "autoRecording", setup.autoRecording);
    reader.read(element, "minCoverage", setup.minCoverage);
    reader.read(element, "value", setup.setupValue);
    reader.read(element, "flag", setup.setupFlag);
    for (CConstElement name = element.child("Profile"); name; name = name.next("Profile"))
        setup.profiles.append(name.text());
    return setup;
}

/// Appends what `read` makes of the elements of that name. False, and nothing is left, when one of them is
/// bad.
template<class Item, class Read>
bool readAll(const CConstElement& root, const char* name, Read read, QVector<Item>& items)
{
    AttributeReader reader;
    for (CConstElement entry = root.child(name); entry; entry = entry.next(name))
        items.append(read(reader, entry));
    if (!reader.isGood())
        items.clear();
    return reader.isGood();
}

} // namespace

CMsgFragment CFHSeparationParameters::makeFragment()
{
    return XmlCommon::requestFragment(kSeparation, CDataTree(QLatin1String("GetParameters")));
}

bool CFHSeparationParameters::isQuery(const CMsgFragment& fragment)
{
    return XmlCommon::asksFor(fragment, kSeparation, "GetParameters");
}

void CFHSeparationParameters::fillReply(CMsgFragment& fragment, const QVector<struHopperProfile>& profiles)
{
    fragment.setDataTree(treeOf(QLatin1String("Parameters"), profiles));
}

CMsgFragment CFHSeparationParameters::makeCommand(const QVector<struHopperProfile>& profiles)
{
    return XmlCommon::requestFragment(kSeparation, treeOf(QLatin1String("SetParameters"), profiles));
}

bool CFHSeparationParameters::isCommand(const CMsgFragment& fragment)
{
    return XmlCommon::asksFor(fragment, kSeparation, "SetParameters");
}

CFHSeparationParameters::CFHSeparationParameters(const CMsgFragment& fragment)
{
    const bool command = isCommand(fragment);
    const CConstElement root = command ? XmlCommon::requestRoot(fragment) : fragment.getDataTree().root();
    if (!command &&
        (fragment.getComponentName() != QLatin1String(kSeparation) || !root.hasName("Parameters")))
        return;
    m_compatible = readAll(root, "Profile", readProfile, m_profiles);
}

CMsgFragment CQueryHopperProduction::makeFragment()
{
    return XmlCommon::requestFragment(kProduction, CDataTree(QLatin1String("GetProduction")));
}

bool CQueryHopperProduction::isQuery(const CMsgFragment& fragment)
{
    return XmlCommon::asksFor(fragment, kProduction, "GetProduction");
}

void CQueryHopperProduction::fillReply(CMsgFragment& fragment, const QVector<struProductionSetup>& setups)
{
    CDataTree tree(QLatin1String("Production"));
    CElement root = tree.editRoot();
    for (const struProductionSetup& setup : setups) {
        CElement element = root.append("Setup");
        appendSetup(element, setup);
        element.setAttribute("value", QString::number(setup.setupValue));
        element.setAttribute("flag", XmlCommon::truthText(setup.setupFlag));
    }
    fragment.setDataTree(tree);
}

CQueryHopperProduction::CQueryHopperProduction(const CMsgFragment& fragment)
{
    const CConstElement root = fragment.getDataTree().root();
    if (fragment.getComponentName() != QLatin1String(kProduction) || !root.hasName("Production"))
        return;
    m_compatible = readAll(root, "Setup", readSetup, m_setups);
}

CSetHopperProduction::CSetHopperProduction(const CMsgFragment& fragment)
{
    AttributeReader reader;
    if (isCommand(fragment))
        m_setup = readSetup(reader, XmlCommon::requestRoot(fragment));
    m_compatible = isCommand(fragment) && reader.isGood();
    if (!m_compatible)
        m_setup = ProductionSetup();
}

bool CSetHopperProduction::isCommand(const CMsgFragment& fragment)
{
    return XmlCommon::asksFor(fragment, kProduction, "SetProduction");
}

CMsgFragment CSetHopperProduction::makeFragment() const
{
    CDataTree tree(QLatin1String("SetProduction"));
    appendSetup(tree.editRoot(), m_setup);
    return XmlCommon::requestFragment(kProduction, tree);
}

} // namespace SigVConverter
