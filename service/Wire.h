#pragma once

#include <service/Answer.h>

#include <string>
#include <string_view>

namespace korvel::service {

class Channel;
class Gate;

/// "Not Found" for 404, and so on; "Unassigned" for numbers that nobody has named.
std::string_view reasonPhrase(int status);
/// Gives an answer's status line the phrase of `reasonPhrase`: cpp-httplib calls every number that
/// it does not know an internal server error.
void nameStatus(std::string& answer);

int statusOf(std::string_view answer);  ///< 0 if these are no answer's bytes

/// The bytes of an answer that is scripted whole.
std::string compose(const Answer& answer);
bool isScriptedWhole(const Answer& answer);
bool closesAfter(const Answer& answer);

/// Sends `bytes` as `answer` orders. False: the connection is over, and closed as ordered.
bool deliver(Channel& channel, Gate& gate, const Answer& answer, std::string_view bytes);

}  // namespace korvel::service
