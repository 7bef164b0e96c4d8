// Wireshark's decoded text of OTA messages, from Debian's tshark run as a
// separate process. libwireshark is never linked: its licence would bind
// the library that links it, its interface changes with every release,
// and a dissector crash would take the host down. A child process has none
// of these problems.
//
// Two ways of running it:
//   TsharkDecoder  one long-lived `tshark -l -n -r - -V` child, fed one
//                  exported-PDU pcap record per message on its standard
//                  input; the text of frame N ends with the blank line
//                  that tshark prints after it. For single items.
//   DecodeCapture  one `tshark -n -r - -V` run over a whole capture, for
//                  many messages at once (exports and dumps).
// Both run tshark with WIRESHARK_CONFIG_DIR set to a private, empty
// directory, so that no user preference changes the text. A missing or
// failing tshark gives no text and fails nothing.
#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <mutex>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "common/item_timestamp.h"
#include "ota/ota_message.h"

namespace quillon::decoders {

struct TsharkLimits {
  // The first answer of a new child includes tshark's start-up.
  std::chrono::milliseconds first_answer{30000};
  std::chrono::milliseconds answer{10000};
  // Failures in a row (no start, a timeout, a child that died) after which
  // the decoder gives up for the life of the process.
  int failures_to_give_up = 3;
};

enum class DecodeStatus {
  kDecoded,      // `text` holds the message's decoded tree
  kUnavailable,  // tshark cannot be run (missing, or given up after failures)
  kFailed,       // this message got no answer (timeout, child died); a later call restarts it
};

// The message's part of tshark's -V text of one packet: the packet's text
// without its first two top-level trees (the frame and the exported PDU
// header), without the blank line at the end.
std::string MessageTree(std::string_view packet_text);

// Splits tshark -V text into packets ("Frame N: ..." up to the next one).
std::vector<std::string_view> SplitPackets(std::string_view text);

class TsharkDecoder {
 public:
  explicit TsharkDecoder(TsharkLimits limits = {});
  // Kills and reaps the child and removes the configuration directory. A
  // call still running on another thread (possible only at process exit)
  // is not waited for: the child is killed and the system reaps it.
  ~TsharkDecoder();
  TsharkDecoder(const TsharkDecoder&) = delete;
  TsharkDecoder& operator=(const TsharkDecoder&) = delete;

  // The decoder of this process, used by the decoder libraries; made on
  // first use, its child started by the first Decode.
  static TsharkDecoder& Process();

  // Decodes one message (status kMessage) into `text` (UTF-8). Thread-safe:
  // calls are served one at a time.
  DecodeStatus Decode(const OtaBody& message, ItemTimestamp time, std::string& text);

  // Whether the decoder has given up (tshark missing or failing).
  bool GaveUp() const;
  // The running child's process ID, -1 when none runs (for diagnostics).
  int ChildProcessId() const;

 private:
  struct State;
  std::unique_ptr<State> state_;
};

// Decodes every record of an exported-PDU pcap capture (file header
// included) with one tshark run: `texts` gets one message tree per record,
// in order. kFailed when tshark ran but its output does not account for
// every record in time (`timeout` for the whole run).
DecodeStatus DecodeCapture(std::span<const std::uint8_t> capture, std::size_t records,
                           std::vector<std::string>& texts,
                           std::chrono::milliseconds timeout = std::chrono::minutes(5));

}  // namespace quillon::decoders
