// What a host does with what stations send, whatever the dialog.
#ifndef GALLERY_INPUTS_H_
#define GALLERY_INPUTS_H_

#include <dorn/dorn.h>

// Takes over the attributes of a station's object that an operator may change: the "Value" of what
// can be typed, moved or chosen, and the "Attr" of a radio button. For every other attribute that
// the object has, the station is told again what the host holds.
void TakeOver(VQJsonObject* target, const VQJsonObject& source, const KZString& sessionId);

// A text of foreign origin as it is stored: escaped, since what is sent is put together without
// escaping. Stations that escape what they send and those that do not come to the same.
KZString Stored(const KZString& text);

#endif  // GALLERY_INPUTS_H_
