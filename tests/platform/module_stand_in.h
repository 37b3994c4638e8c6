/** Takes the module's place in the agent: what is asked of it are events, and its part is scripted.
 */
#pragma once

#include "agent.h"

#include <deque>

namespace module_stand_in {

/** Takes its place for variables, or for an opcode's notifications. */
void take_variables();
void take_notifications(uint32_t opcode);

/** What it answers to the reads to come: an instance behind the module root, or "none". */
inline std::deque<std::string> answers;

/** What it asks of the platform whenever it is called. */
inline std::string question;

/** The platform's answer to a question: user, rows, overdue, processor or log. */
std::string told(const std::string &what);

std::string text_of(const Name &name);
Name name_of(const std::string &text);

} // namespace module_stand_in
