#include "model/serial_names.h"

#include <cstdio>
#include <cstring>

void copyName(char* dst, const char* src) {
  std::snprintf(dst, LL_NAME_SIZE, "%s", src != nullptr ? src : "");
}

namespace {
int sameName(const char* name, const void* key) {
  return std::strcmp(name, static_cast<const char*>(key)) == 0 ? 1 : 0;
}
}  // namespace

string_type* stringCreateNew(const char* str) {
  string_type* s = new string_type{};
  copyName(s->str, str);
  return s;
}
void stringDelete(string_type* s) { delete s; }
string_type* stringCopy(const string_type* s) { return stringCreateNew(s->str); }
const char* getStringValue(void* s) { return static_cast<string_type*>(s)->str; }
int stringMatch(void* s, const void* key) { return sameName(static_cast<string_type*>(s)->str, key); }

serial_name_type* serialNameObjCreateNew(const char* name, int32_t serial_number) {
  serial_name_type* s = new serial_name_type{};
  copyName(s->name, name);
  s->serial_number = serial_number;
  return s;
}
void serialNameObjDelete(serial_name_type* s) { delete s; }
const char* getSerialNameObjName(void* s) { return static_cast<serial_name_type*>(s)->name; }
int32_t getSerialNameObjNumber(const serial_name_type* s) { return s->serial_number; }
int serialNameObjMatch(void* s, const void* key) {
  return sameName(static_cast<serial_name_type*>(s)->name, key);
}

serial_name2_type* serialName2ObjCreateNew(const char* name, int32_t serial_number_1,
                                           int32_t serial_number_2) {
  serial_name2_type* s = new serial_name2_type{};
  copyName(s->name, name);
  s->serial_number_1 = serial_number_1;
  s->serial_number_2 = serial_number_2;
  return s;
}
void serialName2ObjDelete(serial_name2_type* s) { delete s; }
const char* getSerialName2ObjName(void* s) { return static_cast<serial_name2_type*>(s)->name; }
int32_t getSerialName2ObjNumberFirst(const serial_name2_type* s) { return s->serial_number_1; }
int32_t getSerialName2ObjNumberSecond(const serial_name2_type* s) { return s->serial_number_2; }
int serialName2ObjMatch(void* s, const void* key) {
  return sameName(static_cast<serial_name2_type*>(s)->name, key);
}
