#pragma once

typedef enum qos_class_t : unsigned int {
  QOS_CLASS_USER_INTERACTIVE = 0x21,
  QOS_CLASS_USER_INITIATED = 0x19,
  QOS_CLASS_UNSPECIFIED = 0x00,
} qos_class_t;
