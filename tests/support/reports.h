// Keeps the reports of the calling thread, instead of what its handler would do with them.
#pragma once

#include <string>
#include <vector>

#include "orv.h"

class Reports {
public:
    struct Entry {
        int32_t status;
        std::string func;
        std::string context;
        std::string file;
        int32_t line;
    };

    // Clears the stored status; the end of the scope does so again and brings the handler back.
    Reports();
    Reports(const Reports&) = delete;
    Reports& operator=(const Reports&) = delete;
    ~Reports();

    std::vector<Entry> entries;

    // One line a report, such as "-5 orvGetPixel pixel==0\n"; forgets what it tells.
    std::string take();

private:
    static int32_t ORV_CALL keep(int32_t status, const char* func, const char* context, const char* file, int32_t line);

    OrvErrorCallBack previousHandler;
    Reports* previous;
};
