#include "figure.h"

#include <xmlmessaging/framing.h>

#include <QByteArray>

namespace Bench {

namespace {

using XmlCommunication::FrameReader;

constexpr int kMany = 1000000;

/// A message in chunks of one byte each, as a hostile peer may send it.
class TinyChunks
{
public:
    TinyChunks(int chunks, int /*number*/)
        : m_chunks(chunks), m_stream(QByteArray("\n#1\nx").repeated(chunks) + "\n##\n")
    {
    }

    void work() const
    {
        FrameReader reader(m_chunks);
        reader.feed(m_stream.constData(), m_stream.size());
        QByteArray message;
        require(reader.next(message) && message.size() == m_chunks, "the message is not whole");
    }

private:
    const int m_chunks;
    const QByteArray m_stream;
};

const bool added = addFigure({"tiny_chunks_growth_at_equal_bytes", kOfTenths, 1.25, Unit::Time,
                              [] { return growthAtEqualBytes<TinyChunks>(kMany); }});

} // namespace

} // namespace Bench
