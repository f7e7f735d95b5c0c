#include "common/WorkerCallback.h"

#include "common/Diagnostics.h"

#include <cstring>

namespace rz48 {
namespace detail {

QMetaMethod findCallback(const QObject* parent, const char* name, QMetaType argType)
{
    if (!parent)
        return {};
    const QMetaObject* meta = parent->metaObject();
    const int wanted = argType.isValid() ? 1 : 0;
    for (int i = 0; i < meta->methodCount(); ++i) {
        const QMetaMethod m = meta->method(i);
        if (m.methodType() != QMetaMethod::Method && m.methodType() != QMetaMethod::Slot)
            continue;
        if (m.name() != name || m.parameterCount() != wanted)
            continue;
        if (wanted == 1 && m.parameterMetaType(0) != argType)
            continue;
        return m;
    }
    return {};
}

void reportMissingCallback(const char* name)
{
    // The printed name always carries the colon of the callback's selector.
    diag("parent does not respond to '%s:'\n", name);
}

} // namespace detail

bool callParent(QObject* parent, const char* name)
{
    const QMetaMethod method = detail::findCallback(parent, name, QMetaType());
    if (!method.isValid()) {
        detail::reportMissingCallback(name);
        return false;
    }
    return method.invoke(parent, Qt::QueuedConnection);
}

} // namespace rz48
