#include "fuzz.h"

#include <xmlmessaging/framing.h>

#include <QList>

using XmlCommunication::appendFrame;
using XmlCommunication::FrameReader;

namespace {

/// Piece sizes that repeat; the first bytes of an input choose them. Behind many pieces comes all that is
/// left: more of them cost time and find nothing.
class Pieces
{
public:
    explicit Pieces(Fuzz::Input& input)
    {
        for (int count = input.takeByte() % 8; count > 0; --count)
            m_sizes.append(input.takeByte() + 1);
    }
    /// At most `left`, and all of it when no sizes were given.
    int next(int left)
    {
        if (m_sizes.isEmpty() || m_index == kMostPieces)
            return left;
        return qMin(left, m_sizes.at(m_index++ % m_sizes.size()));
    }

private:
    static constexpr int kMostPieces = 100;

    QList<int> m_sizes;
    int m_index = 0;
};

struct Outcome
{
    QList<QByteArray> messages;
    QString error;
    QString errorAtEnd;
    bool operator==(const Outcome& other) const
    {
        return messages == other.messages && error == other.error && errorAtEnd == other.errorAtEnd;
    }
};

Outcome readInPieces(const char* data, int size, int limit, Pieces pieces)
{
    FrameReader reader(limit);
    Outcome outcome;
    QByteArray message;
    for (int at = 0, piece = 0; at < size; at += piece) {
        piece = pieces.next(size - at);
        reader.feed(data + at, piece);
        while (reader.next(message))
            outcome.messages.append(message);
    }
    outcome.error = reader.error();
    reader.end();
    outcome.errorAtEnd = reader.error();
    return outcome;
}

/// One message whose chunks the input chooses, as another program may write it.
QByteArray chunked(const QByteArray& payload, Pieces pieces)
{
    QByteArray stream;
    for (int at = 0, piece = 0; at < payload.size(); at += piece) {
        piece = pieces.next(payload.size() - at);
        stream += "\n#" + QByteArray::number(piece) + '\n' + payload.mid(at, piece);
    }
    return stream + "\n##\n";
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    Fuzz::Input input(data, size);
    const int limit = 1 << input.takeByte() % 16;
    Pieces pieces(input);
    Fuzz::Input whole(nullptr, 0);
    const Pieces atOnce(whole);

    // Bytes that claim to be a stream: how they are cut changes nothing.
    const Outcome outcome = readInPieces(input.rest(), input.restSize(), limit, pieces);
    Fuzz::require(outcome == readInPieces(input.rest(), input.restSize(), limit, atOnce),
                  "the pieces in which a stream comes change what is read");
    Fuzz::outcome() = outcome.error.toStdString();
    QByteArray again;
    for (const QByteArray& message : outcome.messages) {
        Fuzz::require(!message.isEmpty() && message.size() <= limit, "a message is empty or over the limit");
        appendFrame(again, message);
    }
    const Outcome back = readInPieces(again.constData(), again.size(), limit, pieces);
    Fuzz::require(back.messages == outcome.messages && back.errorAtEnd.isEmpty(),
                  "messages that were read come back differently");

    // The same bytes as a message: in chunks of any size it arrives as it was.
    const QByteArray payload(input.rest(), input.restSize());
    if (payload.isEmpty())
        return 0;
    const QByteArray stream = chunked(payload, pieces);
    const Outcome one = readInPieces(stream.constData(), stream.size(), payload.size(), pieces);
    Fuzz::require(one.messages == QList<QByteArray>{payload} && one.errorAtEnd.isEmpty(),
                  "a chunked message does not arrive as it was sent");
    return 0;
}
