// Small name records carried in lists: plain names (children, parents,
// predecessor trees, sub-projects) and names with one or two serial numbers
// (the ordering lists). Each begins with its 33-byte name so that the list
// callbacks compare names directly. Names longer than 32 characters are cut
// to 32 when stored.
#ifndef LEVELER_MODEL_SERIAL_NAMES_H
#define LEVELER_MODEL_SERIAL_NAMES_H

#include <cstdint>

#include "model/linked_list.h"

struct string_type {
  char str[LL_NAME_SIZE];
};

struct serial_name_type {
  char name[LL_NAME_SIZE];
  int32_t serial_number;
};

struct serial_name2_type {
  char name[LL_NAME_SIZE];
  int32_t serial_number_1;
  int32_t serial_number_2;
};

// Copies at most 32 characters of src into a 33-byte name and terminates it.
void copyName(char* dst, const char* src);

string_type* stringCreateNew(const char* str);
void stringDelete(string_type* s);
string_type* stringCopy(const string_type* s);
const char* getStringValue(void* s);
int stringMatch(void* s, const void* key);

serial_name_type* serialNameObjCreateNew(const char* name, int32_t serial_number);
void serialNameObjDelete(serial_name_type* s);
const char* getSerialNameObjName(void* s);
int32_t getSerialNameObjNumber(const serial_name_type* s);
int serialNameObjMatch(void* s, const void* key);

serial_name2_type* serialName2ObjCreateNew(const char* name, int32_t serial_number_1,
                                           int32_t serial_number_2);
void serialName2ObjDelete(serial_name2_type* s);
const char* getSerialName2ObjName(void* s);
int32_t getSerialName2ObjNumberFirst(const serial_name2_type* s);
int32_t getSerialName2ObjNumberSecond(const serial_name2_type* s);
int serialName2ObjMatch(void* s, const void* key);

#endif
