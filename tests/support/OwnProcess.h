#pragma once

/// For tests of what happens only at the first use in a process. Each begins with
///
/// if (!inOwnProcess()) return;
///
/// Returns true if this process runs only this test, for the first time. Otherwise it runs the test in a new
/// process, whose failure is a failure here, and returns false. It also returns true if no new process can be
/// started, as under an emulator; the tests then run in the order of their files.
bool inOwnProcess();
