// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Marks what the platform library exports.
#ifndef PLATFORM_EXPORT_H_
#define PLATFORM_EXPORT_H_

// Visible to others, where everything else is hidden.
#define PLATFORM_API __attribute__((visibility("default")))

#endif  // PLATFORM_EXPORT_H_
