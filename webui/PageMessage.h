#pragma once

#include <cstddef>
#include <cstdint>
#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

#include "platform/Flutter.h"
#include "platform/Value.h"
#include "webui/SessionTracker.h"
#include "webui/remote/RemotePages.h"

namespace quorvin::webui {

// The protocol between a page and this program, over one WebSocket per page.
//
// From the page, JSON texts:
//
//   {"id":n,"method":"...","arguments":...}        calls the host; the page chooses n, an integer
//   {"ack":n}                                      n frames (1 or more) were drawn or given up
//   {"show":{"customer":bool,"picture":bool,       which sides of the session the page shows: the
//            "input":bool,"h264":bool}}            customer's with its Stop button, the picture;
//                                                  and whether its picture takes mouse and
//                                                  keyboard: "injectInput" of a page that has not
//                                                  said so is refused; whether it can show H.264
//                                                  that nobody has chosen
//   {"whole":true}                                 the page cannot make use of deltas: the newest
//                                                  frame is to come whole
//   {"report":true}                                what to show to whoever helps with the program;
//                                                  customers' pages only
//   {"answer":"..."}                               the word of a question, at once, and by the
//                                                  script that works the Stop button
//   {"control":bool}                               whether supporters' pages may use mouse and
//                                                  keyboard, which they may at first; false lifts
//                                                  what they hold and refuses "injectInput" from
//                                                  them until it is true again
//
// about supporters on other computers, of which each has a number, `remote`:
//
//   {"invite":true}                                makes an invitation; with four that are not over
//                                                  it does nothing
//   {"remote":n,"answer":"watch"|"control"|        whether the supporter who asks is let in; this
//               "refuse"}                          page is its carrier then
//   {"remote":n,"signal":{...}}                    for the supporter: {"description":{...}} or
//                                                  {"candidate":{...}|null}. This and the next two
//                                                  count of the carrier only
//   {"remote":n,"path":"direct"|"relayed"}         the peer connection stands, and how
//   {"remote":n,"lost":true}                       it stands no more; the supporter may resume
//   {"remote":n,"control":bool}                    whether this supporter may use mouse and
//                                                  keyboard, while supporters may at all
//   {"remote":n,"end":true}                        withdraws the invitation, refuses whoever asks,
//                                                  disconnects whoever is connected
//   {"stopAll":true}                               the same for all of them, who are told that the
//                                                  customer has stopped sharing
//   {"log":true}                                   what happened lately
//   {"front":bool}                                 whether somebody looks at the page; while nobody
//                                                  looks at any, the desktop tells what is up
//
// A supporter's page has these rights: it calls "capabilities", "configureStream", "injectInput"
// and "releaseInput" only, its `customer` in "show" counts for nothing, and "control" is the
// customer's. Whatever else it asks for is answered with the error "not_allowed". A guest's page,
// the WebSocket "guest-n" beside the customer's, has the same rights, but mouse and keyboard only
// while they were given to it as well. A customer's page may do all. "releaseInput" lifts
// what the page has pressed, and nothing that another one holds.
//
// To the page, JSON texts:
//
//   {"id":n,"result":...}                          the answers to a call: one of the three
//   {"id":n,"error":{"code","message","details"}}
//   {"id":n,"notImplemented":true}
//   {"id":null,"error":{...}}                      the last text was none of the above, or not
//                                                  for this page to send
//   {"event":"state","session":"idle"|"starting"|"live"|"ended","error":{...}|null,
//    "settings":{...}|null,"input":bool,           sent first of all and on every change; `error`
//    "control":bool}                               says why a session ended by itself or never
//                                                  began, `settings` are the ones in force or null
//                                                  for the host's own defaults, `input` whether
//                                                  any page takes mouse and keyboard, `control`
//                                                  whether this page may if it is a supporter's or
//                                                  a guest's, and to a customer's whether
//                                                  supporters' may
//   {"event":"error","code","message","details"}   an error of the frame stream
//   {"event":"frame","ageMs":n}                    the next binary message is a frame that came
//                                                  from the host n milliseconds ago; not sent
//                                                  for one that has not waited
//   {"event":"reduced","why":"network"|null,       to a guest: by how many steps the picture is
//    "steps":n}                                    less than was chosen, which `settings` go on
//                                                  telling
//   {"event":"report","text":"..."}                lines to read, with no names or addresses
//   {"event":"question","word":"..."}              whether the page's script works, and has got
//                                                  whatever came before; a page that owes an
//                                                  answer shows nobody a Stop button
//   {"event":"remote","configured":bool,           to customers' pages, after the first "state"
//    "problem":null|"unreachable"|                 and on every change. Without a broker
//      "certificateWrong"|"refused",               `configured` is false; `problem` is with the
//    "detail":"...","full":bool,                   broker, `detail` a text for people about
//    "page":"...","iceServers":[...]|null,         either. `full`: nobody more can be invited
//    "sessions":[{"id":n,"stage":"...",            until one of the sessions is over. `page` is
//      "code":"...","link":"...",                  where a code is entered. Sessions that are over
//      "qr":["01..."],"expiresInMs":n|null,        stay for a minute, or until the next
//      "name":"...","words":[...]|null,            invitation. A stage is "preparing", "waiting",
//      "control":bool,"sinceMs":n|null,            "asking", "connected", "lost", "expired",
//      "path":null|"direct"|"relayed",             "tooManyTries", "refused", "gone" or "ended".
//      "carrier":bool}]}                           `code`, `link` and `qr`, its rows, are empty
//                                                  but while it is "waiting"; `sinceMs` have
//                                                  passed since the customer's answer; `carrier`:
//                                                  this page has the peer connection. After "lost"
//                                                  a new one is to be made
//   {"event":"signal","remote":n,"signal":{...}}   to the carrier, from the supporter
//   {"event":"log","entries":[{"time":"...",       the newest hundred, the newest first; `event` is
//    "event":"...","remote":n,"name":"...",        "invited", "asked", "allowed", "refused",
//    "path":...,"control":bool,"why":...}]}        "connected", "control", "lost", "resumed" or
//                                                  "ended"
//
// and binary messages: frames as the host sent them, or deltas to the frame before
// (docs/delta-form.md). At most two are unacknowledged; frames that come meanwhile replace each
// other, so that a slow page sees the newest and never a backlog.

// The largest message a page may send.
inline constexpr std::size_t pageMessageBytesMax = std::size_t{64} * 1024;
// And so many frames between two answers to questions, which come every other second.
inline constexpr std::size_t pageFramesMax = 20'000;

struct PageCall {
  std::int64_t id = 0;
  FlutterMethodCall call;
};
struct PageAcknowledgement {
  std::int64_t count = 0;
};
struct PageVisibility {
  bool customer = false;
  bool picture = false;
  bool input = false;
  bool h264 = false;
};
struct PageAnswer {
  std::string word;
};
struct PageWholeFrame {};
struct PageReport {};
struct PageControl {
  bool allowed = false;
};
// Why a text was refused, and the id of the call if it is one.
struct PageProtocolError {
  std::optional<std::int64_t> id;
  std::string message;
  std::string code = "bad_message";
};
using PageMessage =
    std::variant<PageCall, PageAcknowledgement, PageVisibility, PageAnswer, PageWholeFrame,
                 PageReport, PageControl, RemoteMessage, PageProtocolError>;

// Never throws. Calls of methods that the host does not offer come back as PageProtocolError.
[[nodiscard]] PageMessage parsePageMessage(std::string_view text);

[[nodiscard]] bool isCallableMethod(std::string_view method);

[[nodiscard]] std::string replyText(std::int64_t id, const FlutterReply& reply);
[[nodiscard]] std::string protocolErrorText(const PageProtocolError& problem);
[[nodiscard]] std::string stateText(const SessionTracker& session, bool input, bool control);
[[nodiscard]] std::string streamErrorText(const FlutterError& error);
[[nodiscard]] std::string frameText(std::int64_t ageMs);
[[nodiscard]] std::string reducedText(int steps);
[[nodiscard]] std::string reportText(const std::string& report);
[[nodiscard]] std::string questionText(const std::string& word);

// What the messages are made of.

// The deepest nesting of arrays and objects that is read from a page.
inline constexpr int jsonDepthMax = 32;

// JSON text from a page, or nothing if it is no JSON or nested too deeply. Never throws, and needs
// no more stack for deep text than for flat.
[[nodiscard]] std::optional<nlohmann::json> parseJson(std::string_view text);

// Numbers written without fraction and exponent are integers (above 64 bits: doubles), all others
// doubles. The value must come from parseJson.
[[nodiscard]] Value valueFromJson(const nlohmann::json& json);

// Byte lists and typed lists become arrays of numbers. Keys that are no strings become their JSON
// text, numbers that JSON cannot say (infinities, not-a-number) null.
[[nodiscard]] nlohmann::json jsonFromValue(const Value& value);

// The JSON text of a document; text in it that is no UTF-8 gets replacement characters.
[[nodiscard]] std::string textOfJson(const nlohmann::json& json);

}  // namespace quorvin::webui
