#pragma once

/// For tests of what only happens on the first use in a process. Each begins with
///   if (!inOwnProcess()) return;
/// True where this process runs the test alone and for the first time. Otherwise the test runs in a new
/// process, and a failure there is a failure here. Also true where no new process can be started, as under an
/// emulator: tests run there in the order of their files.
bool inOwnProcess();
