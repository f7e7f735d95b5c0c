#pragma once
// What every named control of the panel and the cue window does, and in
// which unit: one table, set as each control's tooltip.
class QWidget;

namespace rz48 {

// Sets the tooltip of every control below `root` that the table names
// (a stepper's arrow buttons get their stepper's).
void applyTooltips(QWidget* root);

} // namespace rz48
