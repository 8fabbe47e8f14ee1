// In-place sorting of plain and synchronised arrays, and the orderings of
// name lists by their serial numbers.
//
// Two schemes only:
//   - the engine's quick sort (model/sort_core.h: median-of-three, a fixed
//     stack of 32 ranges, heap sort for lopsided partitions, insertion sort
//     for ranges of 17 or fewer), not stable, no heap memory;
//   - a bottom-up merge sort, stable, whose two temporary arrays per array
//     of the shape are allocated per call and released before it returns.
// "Synchronised" arrays are parallel arrays reordered together by the keys of
// the first one (or the first two): entry i of every array moves as one.
//
// Comparators return a positive value when their first argument must come
// after their second; nothing moves on any other result. Two-key comparators
// take (a1, b1, a2, b2): the first keys of a and b, then their second keys.
//
// Ranges are inclusive index ranges first..last; the do... entry points that
// take a count np sort entries 0..np-1. Empty and one-entry ranges are left
// alone. The sorts own nothing: every array and byte string belongs to the
// caller, and only the pointers to byte strings move, never their bytes.
//
// The byte-string sorts (the ...CharArray and ...CharCharArrays quick sorts)
// order pointers to unsigned byte strings of a fixed length n, such as 36-byte
// day bits, so that cmpByteArrays serves as their comparator too. The
// strings carried beside integer keys are plain char pointers (names): they
// are never compared. Keys are 32-bit signed integers.
//
// Name lists: the orderings rewrite a list of serial_name_type (or
// serial_name2_type) elements in place, keeping the very same element
// objects and links; lists of fewer than 17 entries are bubble-sorted, longer
// ones merge-sorted, both stable. The by-serial-number orderings always sort
// ascending and the descending one writes that order back from the end, so
// entries with equal numbers come out in reverse list order there. After an
// ordering the head is the current element.
#ifndef LEVELER_MODEL_SORTING_H
#define LEVELER_MODEL_SORTING_H

#include <cstdint>

#include "model/linked_list.h"

// Comparator shapes.
using int_cmp_fn = int (*)(int32_t a, int32_t b);
using char_cmp_fn = int (*)(const unsigned char* a, const unsigned char* b, int n);
using two_key_cmp_fn = int (*)(int32_t a1, int32_t b1, int32_t a2, int32_t b2);

// Integer comparators.
int swapFunctAscOrder(int32_t a, int32_t b);
int swapFunctDescOrder(int32_t a, int32_t b);

// Two-key comparators (first key, then second key).
int twoDimSwapFunctFirstParamAscAndSecondAscOrder(int32_t a1, int32_t b1, int32_t a2, int32_t b2);
int twoDimSwapFunctFirstParamDescAndSecondAscOrder(int32_t a1, int32_t b1, int32_t a2, int32_t b2);
int twoDimSwapFunctFirstParamDescAndSecondDescOrder(int32_t a1, int32_t b1, int32_t a2,
                                                    int32_t b2);

// Byte-string comparators over the first n bytes.
int swapFunctAscOrderChar(const unsigned char* a, const unsigned char* b, int n);
int swapFunctDescOrderChar(const unsigned char* a, const unsigned char* b, int n);

// Quick sorts of first..last (not stable).
void combQuickSortOfIntArray(int32_t* array, int_cmp_fn cmp, int32_t first, int32_t last);
void combQuickSortOfCharArray(unsigned char** array, char_cmp_fn cmp, int n, int32_t first, int32_t last);
void syncCombQuickSortOfCharCharArrays(unsigned char** firstArray, unsigned char** secondArray,
                                       char_cmp_fn cmp, int n, int32_t first, int32_t last);
void syncQuickSortOfIntArrays(int32_t* firstArray, int32_t* secondArray, int_cmp_fn cmp,
                              int32_t first, int32_t last);
void syncQuickSortOfIntCharArrays(int32_t* keys, char** strings, int_cmp_fn cmp, int32_t first,
                                  int32_t last);
void syncQuickSortOfIntIntCharArrays(int32_t* keys1, int32_t* keys2, char** strings,
                                     two_key_cmp_fn cmp, int32_t first, int32_t last);

// Heap sorts of the run first..first+count-1, the quick sorts' fallback.
void HelperHeapSort(int32_t* array, int_cmp_fn cmp, int32_t first, int32_t count);
void HelperHeapSortChar(unsigned char** array, char_cmp_fn cmp, int n, int32_t first, int32_t count);
void syncHelperHeapSortCharChar(unsigned char** firstArray, unsigned char** secondArray,
                                char_cmp_fn cmp, int n, int32_t first, int32_t count);

// Merge sorts of first..last (stable).
void syncMergeSortOfIntArrays(int32_t* firstArray, int32_t* secondArray, int_cmp_fn cmp,
                              int32_t first, int32_t last);
void syncMergeSortOfIntCharArrays(int32_t* keys, char** strings, int_cmp_fn cmp, int32_t first,
                                  int32_t last);
void syncMergeSortOfIntIntCharArrays(int32_t* keys1, int32_t* keys2, char** strings,
                                     two_key_cmp_fn cmp, int32_t first, int32_t last);

// Entry points.
void doCombQuickSortOfIntArray(int32_t* array, int_cmp_fn cmp, int32_t np);
void doCombQuickSortOfCharArray(unsigned char** array, char_cmp_fn cmp, int n, int32_t np);
void doSyncCombQuickSortOfCharCharArrays(unsigned char** firstArray, unsigned char** secondArray,
                                         char_cmp_fn cmp, int n, int32_t np);
// Quick sort when stable_mode is 0, merge sort otherwise.
void doSyncCombQuickSortOfIntArrays(int32_t* firstArray, int32_t* secondArray,
                                    int_cmp_fn combSortSupportFunction, int stable_mode,
                                    int32_t first, int32_t last);
// Always the merge sort.
void doSyncCombQuickSortOfIntCharArrays(int32_t* keys, char** strings, int_cmp_fn cmp,
                                        int32_t first, int32_t last);
void doSyncCombQuickSortOfIntIntCharArrays(int32_t* keys1, int32_t* keys2, char** strings,
                                           two_key_cmp_fn cmp, int32_t first, int32_t last);

// Bubble sorts of entries 0..np-1, for short arrays.
void reorderArrayInAscendingOrder(int32_t* array, int32_t np);
void reorderArrayInDescedingOrder(int32_t* array, int32_t np);
// Day counts in descending order.
void doOrdUnaveArrayDesc(int32_t* unave_days, int32_t len);

// Name-list orderings (lists of serial_name_type elements).
void doOrdSerNamesListBySerNumAsc(linked_list_type* list);
void doOrdSerNamesListBySerNumDesc(linked_list_type* list);
// Name-list orderings (lists of serial_name2_type elements), by
// (serial_number_1, serial_number_2).
void doOrderSerialNamesByFirstParamInAscAndSecondParamInAscOrder(linked_list_type* list);
void doOrderSerialNamesByFirstParamInDescAndSecondParamInAscOrder(linked_list_type* list);
void doOrderSerialNamesByFirstParamInDescAndSecondParamInDescOrder(linked_list_type* list);

#endif
