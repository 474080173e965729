#pragma once
/// The worker threads of the program, as far as their lines reach a LogCapture.

/// A worker has written its first line. Called on its own thread.
void AddCurrentWorker();

/// Waits for the end of all workers, for each of them this long. \return false when the time is over
bool WaitForWorkers(int nMilliseconds = 30000);
