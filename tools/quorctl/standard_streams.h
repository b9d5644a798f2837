// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// The standard streams, with every failure noticed.
#ifndef TOOLS_QUORCTL_STANDARD_STREAMS_H_
#define TOOLS_QUORCTL_STANDARD_STREAMS_H_

#include <string>

namespace Quorctl {

// Occupies those of the descriptors 0 to 2 that are closed, so that no file opened later becomes a
// standard stream. Reading or writing the stream still fails afterwards, as it would have before.
void ReserveStandardDescriptors();

// Waits for POLLIN or POLLOUT, or for a signal: a stream may have been opened non-blocking by
// another process.
void WaitUntilReady(int descriptor, short events);

// Writes all of `text`. Returns 0, or the error number of the write that failed.
int WriteStandardOutput(const std::string& text);

// Writes "quorctl: ", the message and a line feed. Characters that a terminal acts on are escaped.
void WriteErrorLine(const std::string& message);

// Writes text for a person at the terminal to standard error, without adding a line feed.
// Characters that a terminal acts on are escaped, except carriage return and line feed.
void WriteTerminal(const std::string& text);

}  // namespace Quorctl

#endif  // TOOLS_QUORCTL_STANDARD_STREAMS_H_
