#pragma once
// Hands each report line from the unit to the one handler that owns its
// letter: the main tab, the pages, the update controller and the cue
// document each register theirs. A line that is not a report is dropped, a
// "#" line is a comment, and a letter nobody owns is printed as
// "unknown command: X".
#include "codecs/ReportFields.h"

#include <QString>

#include <array>
#include <cstdint>
#include <functional>
#include <initializer_list>

class ReportRouter {
public:
    using Fields = rz48::ReportFields;
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
    rz48::FieldScratch scratch_;
};
