#include "inputfile.h"

#include <koltacommon/faultmessagehandler.h>

#include <startup/cfgcenter.h>
#include <startup/errorhandler.h>
#include <xmlmessaging/converters.h>

#include <QMap>

using Kolta::FaultMessageHandler;
using ResourceConverter::CQueryFaultReference;
using XmlCommon::CFaultTree;

namespace {

/// Where the handler looks for its file, for the whole of the program.
const Fuzz::InputFile& configuredFile()
{
    static const Fuzz::InputFile file;
    static const Fuzz::InputFile configuration;
    static const bool isConfigured = [] {
        Startup::ErrorHandler::Instance().setLoggingEnabled(false);
        return Startup::CfgCenter::Instance().Open(configuration.path()) &&
               Startup::CfgCenter::Instance().SetValue(QStringLiteral("VeskConfiguration"),
                                                       QStringLiteral("FaultReferenceFile"), file.path());
    }();
    Fuzz::require(isConfigured, "the file cannot be configured");
    return file;
}

/// The texts of all numbers with which a line may begin, as far as they have one.
QMap<quint32, QString> textsIn(const QByteArray& content, const FaultMessageHandler& handler)
{
    QMap<quint32, QString> texts;
    for (const QByteArray& line : content.split('\n')) {
        bool isNumber = false;
        const quint32 id = QString::fromUtf8(line).section(QLatin1Char('|'), 0, 0).toUInt(&isNumber);
        const QString text = isNumber ? handler.ConvertFaultMessage(CFaultTree(id, 0)) : QString();
        if (isNumber && !text.startsWith(QLatin1String("<No description")))
            texts.insert(id, text);
    }
    return texts;
}

QMap<quint32, QString> read(const QByteArray& content, const QByteArray& numbers)
{
    configuredFile().write(content);
    FaultMessageHandler handler;
    const bool isLoaded = handler.Init(QString());
    const auto texts = textsIn(numbers, handler);
    Fuzz::require(isLoaded || texts.isEmpty(), "a refused file has texts");
    return texts;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const Fuzz::Input input(data, size);
    const QByteArray content(input.rest(), input.restSize());
    Startup::TraceRecorder traces(100);
    const auto texts = read(content, content);
    for (auto it = texts.begin(); it != texts.end(); ++it)
        Fuzz::outcome() += QStringLiteral("%1|%2;").arg(it.key()).arg(it.value()).toStdString();
    for (const Startup::TraceRecord& record : traces.records()) {
        if (record.text.contains(QLatin1String("skipped")))
            Fuzz::outcome() += "skipped" + record.text.section(QLatin1Char(':'), -1).toStdString();
    }
    Fuzz::require(read(content + '\n' + content, content) == texts,
                  "a file read twice over says something else");

    // Written by a handler, as a server's answer, the texts come back but for their line breaks.
    QVector<ResourceConverter::FaultDescription> faults;
    for (auto it = texts.begin(); it != texts.end(); ++it)
        faults.append({it.key(), it.value()});
    XmlCommon::CMsgFragment fragment = CQueryFaultReference::makeFragment();
    CQueryFaultReference::fillReply(fragment, faults);
    CQueryFaultReference answer(fragment);
    FaultMessageHandler writer;
    writer.sl_QueryFaultReference(&answer);
    FaultMessageHandler reader;
    reader.Init(QString());
    Fuzz::require(textsIn(content, reader).keys() == textsIn(content, writer).keys(),
                  "a written reference is read differently");
    return 0;
}
