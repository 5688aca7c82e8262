// The scripted console: what the operator will answer, and what was printed.
//
// Journal entries: zeConsole_Printf("text"), zeConsole_GetInput(256) = "answer" and
// zeConsole_GetInput(256) = end of input.
#pragma once

#include <functional>
#include <string>

namespace fake {

/// Queues a line (without its end) for zeConsole_GetInput. Reading when nothing is queued stops the
/// test: nobody would ever answer.
void answerOnConsole(const std::string& line);
/// Queues one end of input.
void endConsoleInput();
/// Called during every zeConsole_GetInput, before its answer is read: what happens while the
/// operator thinks. Until clearConsole.
void whileAsking(std::function<void()> hook);
/// Everything that zeConsole_Printf wrote since the last reset.
std::string consoleOutput();
/// How many queued answers were not read.
int consoleAnswersLeft();
void clearConsole();

} // namespace fake
