// Marks what the platform library exports.
#ifndef PLATFORM_EXPORT_H_
#define PLATFORM_EXPORT_H_

#define PLATFORM_API __attribute__((visibility("default")))

#endif  // PLATFORM_EXPORT_H_
