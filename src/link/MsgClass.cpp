#include "link/MsgClass.h"

#include "common/Diagnostics.h"

#include <QStringDecoder>

namespace {

constexpr char kSysExStart = char(0xF0);
constexpr char kSysExEnd = char(0xF7);

void printBytes(const QByteArray& bytes, const char* format)
{
    rz48::diagText(rz48::hexBytes(std::string_view(bytes.constData(), size_t(bytes.size())), format) + '\n');
}

bool isTrimmed(QChar c)
{
    return c == u'\r' || c == u'\n' || c == u'>';
}

} // namespace

MsgClass::MsgClass()
    : text_(QStringLiteral("a message"))
{
}

void MsgClass::txBytes(const void* bytes, uint32_t length)
{
    if (bytes && length > 0)
        buffer_.append(static_cast<const char*>(bytes), qsizetype(length));
}

void MsgClass::txString(const QString& text)
{
    QString line = text;
    line.remove(u'\r');
    line.remove(u'\n');
    // 253 or more characters are cut to 251; exactly 252 stays whole.
    if (line.size() >= 253)
        line.truncate(251);
    line.append(QStringLiteral("\r\n"));
    buffer_.append(line.toLatin1());
}

void MsgClass::append(const MsgClass* other)
{
    if (other && !other->buffer_.isEmpty())
        buffer_.append(other->buffer_);
}

std::optional<QString> MsgClass::removeString()
{
    if (buffer_.isEmpty())
        return std::nullopt;

    QByteArray line;
    const qsizetype sysex = buffer_.indexOf(kSysExStart);
    if (sysex >= 0) {
        // Everything before the marker is a line, terminated or not. With the
        // marker at the head this is an empty text and the buffer is unchanged.
        line = buffer_.left(sysex);
        buffer_.remove(0, sysex);
    } else {
        if (buffer_.size() < 2)
            return std::nullopt;
        const qsizetype crlf = buffer_.indexOf("\r\n");
        if (crlf < 0)
            return std::nullopt;
        line = buffer_.left(crlf + 2);
        buffer_.remove(0, crlf + 2);
    }

    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    QString decoded = decoder.decode(line);
    if (decoder.hasError())
        return std::nullopt;

    qsizetype begin = 0;
    qsizetype end = decoded.size();
    while (begin < end && isTrimmed(decoded.at(begin)))
        ++begin;
    while (end > begin && isTrimmed(decoded.at(end - 1)))
        --end;
    return decoded.mid(begin, end - begin);
}

std::optional<QByteArray> MsgClass::removeMidi()
{
    if (buffer_.isEmpty() || buffer_.at(0) != kSysExStart)
        return std::nullopt;
    const qsizetype end = buffer_.indexOf(kSysExEnd);
    if (end < 0)
        return std::nullopt;
    QByteArray message = buffer_.left(end + 1);
    printBytes(message, "%02x ");
    buffer_.remove(0, end + 1);
    printBytes(buffer_, "%02x ");
    return message;
}

void MsgClass::printMidi() const
{
    printBytes(midiBuffer_, "%x ");
}
