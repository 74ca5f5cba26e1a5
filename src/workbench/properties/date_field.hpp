// Dates as volumes and projects keep them, in a field that a person can change.
#pragma once

#include <QDateTimeEdit>

#include "support/clock.hpp"

namespace vellmark {

/// A field for the seconds since 1970 in local time, from 1904 to 2040.
[[nodiscard]] QDateTimeEdit* NewDateField(const char* name, UnixSeconds local, QWidget* owner);
[[nodiscard]] UnixSeconds LocalSecondsOf(const QDateTimeEdit& field);

}  // namespace vellmark
