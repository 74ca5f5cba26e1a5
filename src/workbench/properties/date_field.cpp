#include "workbench/properties/date_field.hpp"

namespace vellmark {

QDateTimeEdit* NewDateField(const char* name, UnixSeconds local, QWidget* owner) {
    // The field has no zone of its own: the seconds are shown as they are.
    auto* field = new QDateTimeEdit(owner);
    field->setObjectName(QLatin1String(name));
    field->setTimeSpec(Qt::UTC);
    field->setDisplayFormat(QStringLiteral("dd/MM/yyyy  HH:mm:ss"));
    field->setDateTimeRange(QDateTime({1904, 1, 1}, {0, 0}, Qt::UTC),
                            QDateTime({2040, 2, 6}, {6, 28, 15}, Qt::UTC));
    field->setDateTime(QDateTime::fromSecsSinceEpoch(local, Qt::UTC));
    return field;
}

UnixSeconds LocalSecondsOf(const QDateTimeEdit& field) {
    return field.dateTime().toSecsSinceEpoch();
}

}  // namespace vellmark
