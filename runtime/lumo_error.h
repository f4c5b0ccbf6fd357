// Error channels: contexts that make reports, and the one reporter that sends
// them to standard error, a stream or a callback, and counts them.
#pragma once

#include <cstdio>

#include "lumo_base.h"

using LumoErrorCallback = void (*)(const char* text, int code, void* user);

class LumoErrorReporter {
 public:
  // While it holds entries, everything written belongs to one report.
  lumo_stack stack;

  void use_stderr();
  void use_stream(FILE* stream);  // not owned
  void use_callback(LumoErrorCallback callback, void* user);
  // Where text goes now: the callback when one is set, else the stream (null: standard error).
  LumoErrorCallback callback() const { return callback_; }
  void* callback_user() const { return user_; }
  FILE* stream() const { return stream_; }

  // Number of reports since the last reset.
  unsigned long count() const { return count_; }
  void reset_count() { count_ = 0; }

  // Sends one piece of text; code is 0 for text that is not a numbered error.
  void emit(const char* text, int code);

 private:
  FILE* stream_ = nullptr;  // null: standard error
  LumoErrorCallback callback_ = nullptr;
  void* user_ = nullptr;
  unsigned long count_ = 0;
  unsigned long counted_bracket_ = 0;  // pushes() of the bracket last counted
};

class LumoErrorContext {
 public:
  explicit LumoErrorContext(const char* name) : name_(name) {}
  const char* name() const { return name_; }

  // A numbered error from the runtime's message table, with one text argument.
  void report(int code, const char* argument);
  // A plain text, as it stands.
  void text(const char* line);
  // A line from a format and arguments; a line end is added if it has none.
  void format(const char* fmt, ...) __attribute__((format(printf, 2, 3)));

  // The message text of a numbered error, or null.
  static const char* message_text(int code);

 private:
  const char* name_;
};

LumoErrorContext* lumo_ec();
LumoErrorContext* lumo_io_ec();
