// Where a field of a packed record lies, for the rows of structure tables.
#pragma once

#include <cstddef>

/// `offset, width` of a field.
#define VELLMARK_FIELD(Record, field) offsetof(Record, field), sizeof(Record::field)
/// The same of a field of a record that begins at byte `base`.
#define VELLMARK_FIELD_AT(base, Record, field) \
    (base) + offsetof(Record, field), sizeof(Record::field)
