#include "reports.h"

namespace {

thread_local Reports* current = nullptr;

std::string orEmpty(const char* text)
{
    return text ? text : "";
}

}  // namespace

Reports::Reports() : previousHandler(orvRedirectError(keep)), previous(current)
{
    current = this;
    orvSetErrStatus(ORV_STATUS_OK);
}

Reports::~Reports()
{
    orvRedirectError(previousHandler);
    orvSetErrStatus(ORV_STATUS_OK);
    current = previous;
}

int32_t ORV_CALL Reports::keep(int32_t status, const char* func, const char* context, const char* file, int32_t line)
{
    current->entries.push_back({status, orEmpty(func), orEmpty(context), orEmpty(file), line});
    return status;
}

std::string Reports::take()
{
    std::string lines;
    for (const Entry& entry : entries)
        lines += std::to_string(entry.status) + ' ' + entry.func + ' ' + entry.context + '\n';
    entries.clear();
    return lines;
}
