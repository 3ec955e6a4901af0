// What security descriptors can belong to.
#pragma once

typedef enum _SE_OBJECT_TYPE { SE_UNKNOWN_OBJECT_TYPE = 0, SE_FILE_OBJECT } SE_OBJECT_TYPE;
