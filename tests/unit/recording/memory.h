// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Memory that runs out at a chosen point, and memory that the platform's Base64 hands over.
#ifndef TESTS_UNIT_RECORDING_MEMORY_H_
#define TESTS_UNIT_RECORDING_MEMORY_H_

namespace Recording {

// Lets the call of operator new with that number, from 1, raise std::bad_alloc; 0: none.
void FailAllocation(int number);

// Whether that call is still to come.
bool AllocationWillFail();

// While it lives, allocations are made and not counted.
class ReliableMemory {
 public:
  ReliableMemory();
  ReliableMemory(const ReliableMemory&) = delete;
  ReliableMemory& operator=(const ReliableMemory&) = delete;
  ~ReliableMemory();

 private:
  int number_;
};

// The memory of Base64's results.
struct Base64Memory {
  const void* before = "";           // what the place of the result held before the last call
  const void* handedOver = "";       // the last result
  bool wasFreed = false;             // by the library
  void* left = nullptr;              // put in the place of the result by calls that fail
  bool nextAllocationFails = false;  // after the next call
};

Base64Memory& TheBase64Memory();

}  // namespace Recording

#endif  // TESTS_UNIT_RECORDING_MEMORY_H_
