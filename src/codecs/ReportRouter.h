#pragma once
// Hands each report line from the unit to the one handler that owns its
// letter: the main tab, the pages, the update controller and the cue
// document each register theirs. A line that is not a report is dropped, a
// "#" line is a comment, and a letter nobody owns is printed as
// "unknown command: X".
#include "common/FieldScanner.h"

#include <QString>

#include <array>
#include <cstdint>
#include <functional>
#include <initializer_list>

class ReportRouter {
public:
    // The numeric fields after a report's letter. A missing field repeats the
    // last value read into the same scratch value; the two scratch values
    // (hexadecimal and decimal) persist across lines and letters.
    class Fields {
    public:
        uint32_t hex();
        int32_t dec();

    private:
        friend class ReportRouter;
        Fields(const QString& line, ReportRouter& router)
            : scan_(line)
            , router_(router)
        {
        }
        rz48::FieldScanner scan_;
        ReportRouter& router_;
    };
    using Handler = std::function<void(const QString& line, Fields& fields)>;

    // `handler` owns the letters given; an empty handler ignores them.
    void on(std::initializer_list<char> letters, Handler handler);
    // One line as it came from the unit.
    void route(const QString& raw);

private:
    struct Entry {
        bool owned = false;
        Handler handler;
    };
    std::array<Entry, 128> entries_ {};
    uint32_t hexScratch_ = 0;
    int32_t decScratch_ = 0;
};
