#include <koltacommon/shorttimeffpassignment.h>

#include <koltacommon/itemfield.h>

#include <jobdescription/shorttime.h>

#include <tuple>

namespace Kolta {

namespace {

using Assignment = ShortTimeFFPAssignment;

constexpr const char* kContext = "Kolta::ShortTimeFFPAssignment_TextAdapter";

/// The members in the order in which they travel.
constexpr auto kMembers = [](auto& io, auto& assignment) {
    io(assignment.ffpGuid);
    io(assignment.tavikResourceId);
    io(assignment.radioId);
    io(assignment.enabled);
    io(assignment.autoRecording);
    io(assignment.minCoverage);
    io(assignment.profiles);
    io(assignment.setupValue);
    io(assignment.setupFlag);
};

QString yesOrNo(bool value)
{
    return value ? QCoreApplication::translate(kContext, "yes") : QCoreApplication::translate(kContext, "no");
}

constexpr TextColumn<Assignment> kColumnTable[] = {
    {QT_TRANSLATE_NOOP("Kolta::ShortTimeFFPAssignment_TextAdapter", "FFP"),
     [](const Assignment& a) { return a.ffpGuid; }},
    {QT_TRANSLATE_NOOP("Kolta::ShortTimeFFPAssignment_TextAdapter", "Enabled"),
     [](const Assignment& a) { return yesOrNo(a.enabled); }},
    {QT_TRANSLATE_NOOP("Kolta::ShortTimeFFPAssignment_TextAdapter", "Profiles"),
     [](const Assignment& a) { return a.profiles.join(QLatin1String(", ")); }},
    {QT_TRANSLATE_NOOP("Kolta::ShortTimeFFPAssignment_TextAdapter", "Recording"),
     [](const Assignment& a) { return yesOrNo(a.autoRecording); }},
    {QT_TRANSLATE_NOOP("Kolta::ShortTimeFFPAssignment_TextAdapter", "Minimum coverage"),
     [](const Assignment& a) { return QString::number(a.minCoverage); }},
    {QT_TRANSLATE_NOOP("Kolta::ShortTimeFFPAssignment_TextAdapter", "Radio"),
     [](const Assignment& a) { return QString::number(a.radioId); }},
    {QT_TRANSLATE_NOOP("Kolta::ShortTimeFFPAssignment_TextAdapter", "Resource"),
     [](const Assignment& a) { return QString::number(a.tavikResourceId); }}};

} // namespace

ShortTimeFFPAssignment ShortTimeFFPAssignment::fromRGObject(const JobXml::FFP_Assignment& object)
{
    Assignment assignment;
    assignment.ffpGuid = object.GetFFP_GUID();
    assignment.tavikResourceId = object.GetResourceID();
    assignment.radioId = object.GetRadioID();
    assignment.enabled = object.GetEnabled();
    assignment.autoRecording = object.GetAutoRecording();
    assignment.minCoverage = object.IsMinCoverageSet() ? object.GetMinCoverage() : kDefaultCoverage;
    assignment.profiles = QStringList(object.GetProfileName().toList());
    assignment.setupValue = object.GetSetupValue();
    assignment.setupFlag = object.GetSetupFlag();
    return assignment;
}

JobXml::FFP_Assignment ShortTimeFFPAssignment::toRGObject() const
{
    JobXml::FFP_Assignment object;
    object.SetFFP_GUID(ffpGuid);
    object.SetResourceID(tavikResourceId);
    object.SetRadioID(radioId);
    object.SetEnabled(enabled);
    object.SetAutoRecording(autoRecording);
    object.SetMinCoverage(minCoverage);
    object.SetProfileName(profiles.toVector());
    object.SetSetupValue(setupValue);
    object.SetSetupFlag(setupFlag);
    return object;
}

void ShortTimeFFPAssignment::assignData(const SigVConverter::CSetHopperProduction& command)
{
    ffpGuid = command.getFfpGuid();
    tavikResourceId = command.getResourceId();
    radioId = command.getRadioId();
    enabled = command.getEnabled();
    autoRecording = command.getAutoRecording();
    minCoverage = command.getMinCoverage();
    profiles = command.getProfiles();
}

void ShortTimeFFPAssignment::assignData(
    const SigVConverter::CQueryHopperProduction::struProductionSetup& setup)
{
    ffpGuid = setup.ffpGuid;
    tavikResourceId = setup.resourceId;
    radioId = setup.radioId;
    enabled = setup.enabled;
    autoRecording = setup.autoRecording;
    minCoverage = setup.minCoverage;
    profiles = setup.profiles;
    setupValue = setup.setupValue;
    setupFlag = setup.setupFlag;
}

void ShortTimeFFPAssignment::fillData(SigVConverter::CSetHopperProduction& command) const
{
    command.setFfpGuid(ffpGuid);
    command.setResourceId(tavikResourceId);
    command.setRadioId(radioId);
    command.setEnabled(enabled);
    command.setAutoRecording(autoRecording);
    command.setMinCoverage(minCoverage);
    command.setProfiles(profiles);
}

bool ShortTimeFFPAssignment::operator==(const ShortTimeFFPAssignment& other) const
{
    const auto all = [](const Assignment& a) {
        return std::tie(a.ffpGuid, a.tavikResourceId, a.radioId, a.enabled, a.autoRecording, a.minCoverage,
                        a.profiles, a.setupValue, a.setupFlag);
    };
    return all(*this) == all(other);
}

std::size_t ShortTimeFFPAssignment::serializedSizeInBytes() const
{
    int units = ffpGuid.size() + 20 + profiles.size();
    for (const QString& profile : profiles)
        units += profile.size();
    return 2 * static_cast<std::size_t>(units);
}

QString ShortTimeFFPAssignment_ItemFormat::GetString(const Assignment& assignment)
{
    return QLatin1String("FFP_") + assignment.ffpGuid;
}

std::string ShortTimeFFPAssignment_ItemFormat::toStandardString(const Assignment& assignment)
{
    return itemfield::toField(assignment, kMembers, assignment.serializedSizeInBytes());
}

bool ShortTimeFFPAssignment_ItemFormat::fromCharStream(const char** stream, Assignment& assignment)
{
    return itemfield::fromField(stream, assignment, kMembers);
}

const TextColumns<Assignment>& ShortTimeFFPAssignment_TextAdapter::columns()
{
    static constexpr TextColumns<Assignment> all(kContext, kColumnTable);
    return all;
}

} // namespace Kolta
