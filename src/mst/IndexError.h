#pragma once

#include "LfError.h"

// Why an index cannot be read: the file named is not a usable index (missing, unreadable,
// foreign, of a later version), or the index is damaged (a companion, a commit record or a
// structure's records are wrong). labfolio-mst answers the two with different exit statuses.
class IndexError : public LfError {
public:
    enum class Kind { Unusable, Damaged };

    IndexError(Kind kind, const std::string& description)
        : LfError(kObjectError513, "labfolio-mst", description), m_kind(kind)
    {
    }
    Kind kind() const { return m_kind; }

private:
    Kind m_kind;
};
