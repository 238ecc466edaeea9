#pragma once

#include <recording/export.h>
#include <resourcemodel/rgfields.h>

/// \file
/// Descriptions of recordings.

namespace SOREL_XML {

#define RG_FIELDS_SOREL_IndexEntry(F) F(UInt, quint64, Timestamp, Required, "when the indexed data begin")

/// One entry of a recording's index.
class KOLTA_RECORDING_EXPORT SOREL_IndexEntry final : public REPORTGENERATOR::IRGObject
{
    RG_OBJECT(SOREL_IndexEntry)
};

#define RG_FIELDS_SOREL_RecordData(F)                                                                        \
    F(Text, QString, SubSystem, Optional, "sub-system that holds the recording")                             \
    F(Text, QString, DeviceID, Optional, "device that made it")                                              \
    F(Text, QString, RecordID, Optional, "number of the recording on that device")                           \
    F(Enum, DataFormat, DataFormat, Optional, "what was recorded; 255 for none")                             \
    F(UInt, quint64, StartTime, Optional, "when recording began, in the unit of the index")                  \
    F(UInt, quint64, StopTime, Optional, "when recording ended, in the unit of the index")                   \
    F(RecordList, SOREL_IndexEntry, IndexEntry, Optional, "index of the recorded data, in any order")

/// One recording. Times are unsigned and count in the recorder's unit.
class KOLTA_RECORDING_EXPORT SOREL_RecordData final : public REPORTGENERATOR::IRGObject
{
public:
    /// What was recorded. Other numbers may occur and are carried unchanged.
    enum DataFormat : quint8 {
        eRawData = 0,
        eIqData = 1,
        eSpectrum = 2,
        eDecodedText = 3,
        eImage = 4,
        eInstantaneous = 5,
        eBitStream = 6,
        eTunerSpectrum = 7,
        eDemodulationResult = 8,
        eAnalogAudio = 9,
        eEmissionList = 10,
        eEmissionListBurst = 11,
        eTimeDomain = 12,
        eHistogram = 13,
        eHopDensity = 16,
        eBurst = 18,
        eDigitalAudio = 19,
        eAnalysedBurstInfo = 20,
        eQm410 = 21,
        eSpecial = 24,
        eTunerPolychromeSpectrum = 25,
        eSegmentationSpectrum = 26,
        eDetectorSpectrum = 27,
        eDetectorThreshold = 28,
        eNoDataFormat = 255
    };

    RG_OBJECT(SOREL_RecordData)
};

} // namespace SOREL_XML
