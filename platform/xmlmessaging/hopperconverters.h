#pragma once

#include <xmlmessaging/export.h>
#include <xmlmessaging/xmlmessage.h>

#include <QString>
#include <QStringList>
#include <QVector>

/// \file
/// Separation of frequency hoppers, and what an FFP does with the hoppers found. A fragment in which a number
/// or flag cannot be read, or does not fit, is not compatible and yields nothing; what is missing is zero,
/// false or empty. Whoever makes a fragment must not put numbers into it that are not finite.

namespace SigVConverter {

/// Converts the profiles by which a server separates hoppers: the query for them with its reply, and the
/// command that replaces them. Component "HopperSeparation".
class KOLTA_XMLMESSAGING_EXPORT CFHSeparationParameters
{
public:
    /// What a hopper looks like. A range counts only while its flag is set.
    struct struHopperProfile
    {
        QString name;
        bool useFrequency = false;
        quint64 frequencyMin = 0; ///< Hz
        quint64 frequencyMax = 0; ///< Hz
        bool useDuration = false;
        quint32 durationMin = 0; ///< in the server's unit
        quint32 durationMax = 0; ///< in the server's unit
        bool useBandwidth = false;
        quint32 bandwidthMin = 0; ///< Hz
        quint32 bandwidthMax = 0; ///< Hz
        bool useHopRate = false;
        double hopRate = 0; ///< hops per second
        bool useSymbolRate = false;
        quint32 symbolRateMin = 0; ///< Bd
        quint32 symbolRateMax = 0; ///< Bd
        bool useShift = false;
        quint32 shiftMin = 0; ///< Hz
        quint32 shiftMax = 0; ///< Hz
        bool useModulation = false;
        qint8 modulation = 0; ///< code of the modulation
        bool hopperFlag = false;
    };

    /// The query's fragment.
    static XmlCommon::CMsgFragment makeFragment();
    /// Whether a request fragment is that query.
    static bool isQuery(const XmlCommon::CMsgFragment& fragment);
    /// Puts the answer into a reply fragment.
    static void fillReply(XmlCommon::CMsgFragment& fragment, const QVector<struHopperProfile>& profiles);

    /// The fragment of the command that replaces all profiles.
    static XmlCommon::CMsgFragment makeCommand(const QVector<struHopperProfile>& profiles);
    /// Whether a request fragment is that command.
    static bool isCommand(const XmlCommon::CMsgFragment& fragment);

    /// Reads the command or, from a fragment that is not the command, the query's reply.
    explicit CFHSeparationParameters(const XmlCommon::CMsgFragment& fragment);
    /// Whether the fragment holds profiles, all of them readable.
    bool isCompatible() const noexcept { return m_compatible; }
    /// In the fragment's order.
    const QVector<struHopperProfile>& getProfiles() const noexcept { return m_profiles; }

private:
    QVector<struHopperProfile> m_profiles;
    bool m_compatible = false;
};

/// Converts the query for what the FFPs produce of hoppers, and its reply. Component "HopperProduction".
class KOLTA_XMLMESSAGING_EXPORT CQueryHopperProduction
{
public:
    /// What one FFP looks for, and how.
    struct struProductionSetup
    {
        QString ffpGuid;
        quint16 resourceId = 0; ///< number of the FFP in the resource model
        quint32 radioId = 0;
        bool enabled = false;
        bool autoRecording = false; ///< record detected emissions
        quint32 minCoverage = 0;
        QStringList profiles;   ///< names of the profiles looked for
        qint32 setupValue = 0;  ///< the server's own, carried unchanged
        bool setupFlag = false; ///< the server's own, carried unchanged
    };

    /// The query's fragment.
    static XmlCommon::CMsgFragment makeFragment();
    /// Whether a request fragment is that query.
    static bool isQuery(const XmlCommon::CMsgFragment& fragment);
    /// Puts the answer into a reply fragment.
    static void fillReply(XmlCommon::CMsgFragment& fragment, const QVector<struProductionSetup>& setups);

    /// Reads a reply's fragment.
    explicit CQueryHopperProduction(const XmlCommon::CMsgFragment& fragment);
    /// Whether the fragment holds setups, all of them readable.
    bool isCompatible() const noexcept { return m_compatible; }
    /// In the reply's order.
    const QVector<struProductionSetup>& getSetups() const noexcept { return m_setups; }

private:
    QVector<struProductionSetup> m_setups;
    bool m_compatible = false;
};

/// Converts the command that tells one FFP which hoppers to look for, and how. What only the server decides
/// (CQueryHopperProduction::struProductionSetup::setupValue and setupFlag) is no part of it. Component
/// "HopperProduction".
class KOLTA_XMLMESSAGING_EXPORT CSetHopperProduction
{
public:
    /// A command that switches nothing on.
    CSetHopperProduction() = default;
    /// Reads the command's fragment.
    explicit CSetHopperProduction(const XmlCommon::CMsgFragment& fragment);
    /// Whether a request fragment is this command.
    static bool isCommand(const XmlCommon::CMsgFragment& fragment);
    /// The command's fragment.
    XmlCommon::CMsgFragment makeFragment() const;
    /// Whether the object was made without fragment, or from one that is this command and readable.
    bool isCompatible() const noexcept { return m_compatible; }

    const QString& getFfpGuid() const noexcept { return m_setup.ffpGuid; }
    void setFfpGuid(const QString& guid) { m_setup.ffpGuid = guid; }
    /// Number of the FFP in the resource model.
    quint16 getResourceId() const noexcept { return m_setup.resourceId; }
    void setResourceId(quint16 id) noexcept { m_setup.resourceId = id; }
    quint32 getRadioId() const noexcept { return m_setup.radioId; }
    void setRadioId(quint32 id) noexcept { m_setup.radioId = id; }
    bool getEnabled() const noexcept { return m_setup.enabled; }
    void setEnabled(bool enabled) noexcept { m_setup.enabled = enabled; }
    /// Whether detected emissions are recorded.
    bool getAutoRecording() const noexcept { return m_setup.autoRecording; }
    void setAutoRecording(bool record) noexcept { m_setup.autoRecording = record; }
    quint32 getMinCoverage() const noexcept { return m_setup.minCoverage; }
    void setMinCoverage(quint32 coverage) noexcept { m_setup.minCoverage = coverage; }
    /// Names of the profiles looked for.
    const QStringList& getProfiles() const noexcept { return m_setup.profiles; }
    void setProfiles(const QStringList& names) { m_setup.profiles = names; }

private:
    CQueryHopperProduction::struProductionSetup m_setup;
    bool m_compatible = true;
};

} // namespace SigVConverter
