#include "inputfile.h"

#include <distribution/replay.h>
#include <distribution/replaycarrier.h>

#include <QCoreApplication>
#include <QEventLoop>

#include <vector>

/// A file of a recording, behind two bytes that say where is jumped to. What is accepted is played to its
/// end; written again, what was read is the same bytes.

using namespace distribution;

namespace {

/// What a listener hears, which has to fit together.
struct Listener
{
    explicit Listener(std::shared_ptr<Replay> played) : carrier(std::move(played))
    {
        carrier.onUp = [this](std::size_t) {
            Fuzz::require(!std::exchange(isUp, true), "it was up already");
        };
        carrier.onDown = [this](DownReason, const QString&) {
            Fuzz::require(std::exchange(isUp, false), "it was down already");
        };
        carrier.onMessage = [this](const Bytes&, const Bytes&) {
            Fuzz::require(isUp, "a message while down");
        };
        carrier.Open({}, {});
    }
    ReplayCarrier carrier;
    bool isUp = false;
};

void wait(const Replay& replay)
{
    for (int turns = 0; replay.isMoving(); ++turns) {
        Fuzz::require(turns < 100000, "a jump does not end");
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
}

void requireSame(RecordingReader& reader, const QByteArray& bytes, const QString& path)
{
    QFile::remove(path);
    RecordingWriter writer;
    QString error;
    Fuzz::require(writer.Open(path, error), "the copy cannot be made");
    quint64 offset = reader.GetSegments().front().play;
    while (const auto record = reader.Read(offset)) {
        Fuzz::require(record->next > offset, "a record has no length");
        const quint64 before = writer.GetSize();
        const bool isMessage = record->kind == RecordKind::Message;
        if (isMessage)
            Fuzz::require(writer.WriteMessage(record->timeMs, record->topic, record->payload), "not written");
        const auto size = static_cast<int>(record->next - offset);
        QFile copy(path);
        if (isMessage && copy.open(QIODevice::ReadOnly) && copy.seek(qint64(before)))
            Fuzz::require(copy.readAll() == bytes.mid(int(offset), size), "a message was written otherwise");
        offset = record->next;
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static int argc = 1;
    static char name[] = "fuzz_recording";
    static char* argv[] = {name, nullptr};
    static const QCoreApplication application(argc, argv);
    static const Fuzz::InputFile file, copy;
    Fuzz::Input in(data, size);
    const int first = in.takeByte();
    const int second = in.takeByte();
    const QByteArray bytes(in.rest(), in.restSize());
    file.write(bytes);
    QString error;
    Fuzz::outcome().clear();
    const auto replay = Replay::Open({file.path(), 0, QString()}, error);
    if (!replay) {
        Fuzz::require(!error.isEmpty() && !error.contains(QLatin1Char('\n')), "no reason in one line");
        Fuzz::outcome() = error.mid(error.indexOf(QLatin1String(": ")) + 2).toStdString();
        return 0;
    }
    RecordingReader reader;
    Fuzz::require(reader.Open(file.path(), error), "what was read once is not read again");
    requireSame(reader, bytes, copy.path());
    Listener listener(replay);
    wait(*replay);
    const qint64 length = replay->end() - replay->begin();
    for (const int part : {255, first, second, 0, 255}) {
        replay->jump(replay->begin() + length / 255 * part);
        wait(*replay);
    }
    replay->step(1000000);
    wait(*replay);
    Fuzz::require(replay->position() <= replay->end() && replay->begin() <= replay->position(),
                  "it is outside");
    const QString told = QStringLiteral("%1 %2 segments %3 messages")
                             .arg(replay->cut())
                             .arg(reader.GetSegments().size())
                             .arg(reader.CountMessages());
    Fuzz::outcome() = told.toStdString();
    return 0;
}
