#include "latency/outcome.h"

namespace latency {

using lab::format;
using lab::tr;

std::string drawnBy(const Row &row, lab::Audience audience)
{
    const char *const pattern = row.tags
        ? lab::trPlural("%d contact, tags on", "%d contacts, tags on", row.contacts, audience)
        : lab::trPlural("%d contact, tags off", "%d contacts, tags off", row.contacts, audience);
    return format(pattern, row.contacts);
}

std::string nameOf(const Row &row)
{
    if (row.split == "contacts")
        return drawnBy(row);
    return row.length > 0 ? format(tr(strokeName), row.length) : tr(row.name.c_str());
}

} // namespace latency
