/**
 * Programs that a transcript plays (tests/support/transcript.py): such a one takes a command on
 * each line of its input, and answers with a line for each event, in order, and a "." behind the
 * last.
 */
#pragma once

#include <algorithm>
#include <cstdio>
#include <functional>
#include <iomanip>
#include <iostream>
#include <sstream>
#include <string>
#include <unistd.h>
#include <vector>

/** The next word of a command, if it has one; a text may be in quotation marks. */
template <typename Value = std::string> Value take(std::istream &words, Value otherwise = {}) {
  Value value{};
  if constexpr (std::is_same_v<Value, std::string>) {
    words >> std::quoted(value);
  } else {
    words >> value;
  }
  return words ? value : otherwise;
}

/** Has commands obeyed up to the input's end; one that takes a minute ends the program.
 *  \param obey Gives the events of one. */
inline void
answer_commands(const std::function<std::vector<std::string>(std::istringstream &command)> &obey) {
  FILE *const answer = fdopen(dup(STDOUT_FILENO), "w");
  for (std::string line; std::getline(std::cin, line);) {
    std::istringstream command(line);
    alarm(60);
    for (std::string &event : obey(command)) {
      std::ranges::replace(event, '\n', '\x1f');
      fprintf(answer, "%s\n", event.c_str());
    }
    alarm(0);
    fputs(".\n", answer);
    fflush(answer);
  }
  fclose(answer);
}
