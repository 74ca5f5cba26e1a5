// Widgets belong to one thread. What long work wants of them is brought there.
#pragma once

#include <QCoreApplication>
#include <QMetaObject>
#include <QThread>
#include <optional>
#include <type_traits>
#include <utility>

namespace vellmark {

[[nodiscard]] inline bool IsMainThread() {
    return QThread::currentThread() == QCoreApplication::instance()->thread();
}

/// Runs something in the window's thread and returns its value when it is done.
template <typename Function>
auto InMainThread(Function function) {
    using Value = std::invoke_result_t<Function>;
    if (IsMainThread())
        return function();
    QObject* const there = QCoreApplication::instance();
    if constexpr (std::is_void_v<Value>) {
        QMetaObject::invokeMethod(there, std::move(function), Qt::BlockingQueuedConnection);
    } else {
        std::optional<Value> value;
        QMetaObject::invokeMethod(
            there, [&] { value.emplace(function()); }, Qt::BlockingQueuedConnection);
        return std::move(*value);
    }
}

}  // namespace vellmark
