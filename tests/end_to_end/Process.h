#pragma once

#include <signal.h>
#include <sys/types.h>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace lumora_end_to_end {

/// A child process whose standard input, output and error are pipes to the test.
///
/// Every wait ends once nothing has happened for a minute, with an exception that carries the error text.
class Process {
 public:
  /// Starts `command`; its first word is the program's path.
  explicit Process(const std::vector<std::string>& command);
  /// Kills the child when it still runs.
  ~Process();
  Process(const Process&) = delete;
  Process& operator=(const Process&) = delete;

  /// Writes bytes to standard input, no more of them at once than the child reads without being read.
  void write(std::string_view bytes);
  void closeInput();
  /// The next line of standard output without its line feed; nothing at the end of the output.
  std::optional<std::string> readLine();
  void sendSignal(int signal) const { ::kill(child_, signal); }
  /// Waits for the end and gives the exit status, or 128 and the signal's number for a killed child.
  int waitForEnd();
  /// What has been written to standard error so far.
  const std::string& errorText();
  /// Waits until standard error holds the text.
  void waitForErrorText(std::string_view text);

 private:
  /// What comes out of one pipe.
  struct Stream {
    int descriptor = -1;
    std::string text;
    bool hasEnded = false;

    /// Takes over what is there, without waiting.
    void receive();
  };

  /// Waits until something can be read, and takes it over.
  void pollOnce();

  pid_t child_ = -1;
  int input_ = -1;
  Stream output_;
  Stream error_;
};

}  // namespace lumora_end_to_end
