#pragma once
// CoreFoundationExtension: values between the program's Variant and the store's objects.
// The two directions are no mirror images: the store's URL and UUID come back as a
// FolderItem and a String, and nothing turns them into store objects again; a Single goes
// in as a Single and comes back as a Double.
//
// The date conversions of the module are in dates/StoreDates.h.

#include "dates/StoreDates.h"
#include "platform/StoreObject.h"
#include "platform/Variant.h"

namespace grantwright::CoreFoundationExtension {

// A store object as a Variant; the first matching row decides:
//   StoreString      String (tagged UTF-8)
//   StoreNumber      Double when of a floating type, else 64-bit integer
//   StoreBoolean     Boolean
//   StoreDictionary  a new Dictionary; keys and values converted alike, in order (two
//                    String keys that differ only in case meet in one entry, the later
//                    value winning)
//   StoreArray       a new array of Variant, one element per item (nil included)
//   StoreDate        Date in GMT (ToRBDateZRN), nil without calendar form
//   StoreData        MemoryBlock
//   StoreURL         FolderItem of a file URL, nil for any other
//   StoreUUID        String
// Any other object gives nil after the line "Unhandled RBDictFromCFDict() of type: "
// followed by its TypeDescription in the system log. Containers are converted at any
// depth. A nil `object` raises NilObjectException.
Variant ValueAsRBZRN(const StoreObjectRef& object);

// A Variant as a store object; the first matching row decides:
//   a store object         that same object, no copy
//   Boolean                StoreBoolean
//   Double                 StoreNumber Double
//   32- or 64-bit integer  StoreNumber 64-bit integer
//   Single                 StoreNumber Single
//   String                 StoreString of the text in UTF-8
//   Date                   ValueAsCFDateZRN
//   any array              a new StoreArray of the elements (read with ArrayValueZRN)
//                          converted in order; nil elements and elements without a store
//                          form are left out
//   MemoryBlock            StoreData of its bytes
//   Dictionary             a new StoreDictionary: each entry whose value is not nil and
//                          converts, under a StoreString of the key's text; of two keys
//                          with the same text the first stays
//   anything else          nil (nil, colours, other objects), silently
// Exceptions of the array reading and of a key without text form (an object key)
// pass to the caller.
StoreObjectRef ValueAsCFZRN(const Variant& value);

}  // namespace grantwright::CoreFoundationExtension
