#pragma once

#include <scenario/Function.h>

/// A call that a rule performs: kind ACTION in its THEN branch, ELSE_ACTION in
/// its ELSE branch. Both link to a definition of "ACTION_LIST".
///
/// Internal faults end the process through AssertAbort with the source
/// "action": 60 (a display text without a parent), 918 (more than twelve
/// parameters), 920 (a CODE without run-time entry).
class Action : public Function {
public:
    Action();
    ~Action() override;

    /// Links to the definition in "ACTION_LIST" (a definition returns "VOID");
    /// false when there is none.
    bool OnLoadBegin() override;
    /// "THEN" or "ELSE", two blanks, and the call's text; ends the process without
    /// a parent.
    void UpdateDisplayText() override;
    /// The call's validity, and a rule around it that tests something first.
    void UpdateValidity() override;

    /// Calls the action table's entry of the definition's CODE with the values of
    /// the parameters; nothing for a definition without CODE.
    void Execute();
};
