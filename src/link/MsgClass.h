#pragma once
// The byte container that travels between the panel and the link: one
// outgoing command, one received chunk, or the panel's receive buffer that
// report lines and system-exclusive messages are cut off.
#include <QByteArray>
#include <QMetaType>
#include <QString>

#include <cstdint>
#include <optional>

class MsgClass {
public:
    MsgClass();

    // Appends raw bytes to the buffer.
    void txBytes(const void* bytes, uint32_t length);
    // Appends one command line: CR and LF removed, a text of 253 characters or
    // more cut to 251, then CR LF, encoded as ISO Latin-1.
    void txString(const QString& text);
    // Appends another message's bytes.
    void append(const MsgClass* other);
    void append(const MsgClass& other) { append(&other); }

    // Cuts the next report line off the front. An empty text while the buffer
    // starts with 0xF0 (a system-exclusive message is at the head); none when
    // no complete line is there, or when the line was not valid UTF-8 (the
    // line's bytes are gone all the same).
    std::optional<QString> removeString();
    // Cuts a complete system-exclusive message (0xF0 ... 0xF7) off the front.
    std::optional<QByteArray> removeMidi();
    // Prints midiBuffer as "%x " per byte and a newline.
    void printMidi() const;

    QByteArray& buffer() { return buffer_; }
    const QByteArray& buffer() const { return buffer_; }
    QByteArray& midiBuffer() { return midiBuffer_; }
    const QByteArray& midiBuffer() const { return midiBuffer_; }
    const QString& text() const { return text_; }
    void setText(const QString& text) { text_ = text; }

private:
    QByteArray buffer_;
    QByteArray midiBuffer_;
    QString text_;
};

Q_DECLARE_METATYPE(MsgClass)
