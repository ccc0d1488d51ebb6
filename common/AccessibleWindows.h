#pragma once

// A top-level window made from a plain QWidget is presented to assistive technology as a panel
// ("client"), not as a window: Qt gives the window role only to its own window classes. Each such
// window of ours calls this in its constructor; the first call teaches the accessibility layer
// that they are windows (dialogs where they are made as dialogs).
namespace AccessibleWindows {

void presentAsWindows();

} // namespace AccessibleWindows
