#pragma once
// Worker threads report to their parent only through this helper: it looks the
// named method up in the parent's meta-object and, when the parent has it,
// queues the call on the parent's (main) thread without waiting. When the
// parent does not have it, the line "parent does not respond to '<name>:'" is
// printed and the report is dropped.
//
// Callbacks are declared Q_INVOKABLE (or as slots) on the parent; values are
// handed over by value, so no buffer is shared between threads.
#include <QMetaMethod>
#include <QMetaType>
#include <QObject>

namespace rz48 {
namespace detail {
QMetaMethod findCallback(const QObject* parent, const char* name, QMetaType argType);
void reportMissingCallback(const char* name);
} // namespace detail

// Argument-less callback, e.g. threadNeedsTx.
bool callParent(QObject* parent, const char* name);

// Callback with one argument, e.g. threadHasMsg with a MsgClass.
template <class T>
bool callParent(QObject* parent, const char* name, T value)
{
    const QMetaType type = QMetaType::fromType<T>();
    const QMetaMethod method = detail::findCallback(parent, name, type);
    if (!method.isValid()) {
        detail::reportMissingCallback(name);
        return false;
    }
    return method.invoke(parent, Qt::QueuedConnection, QGenericArgument(type.name(), &value));
}

} // namespace rz48
