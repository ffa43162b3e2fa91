#include "dorn/server/VQDialogMaker.h"

#include <utility>

VQDialogMaker::~VQDialogMaker() = default;

const char* VQDialogMaker::GetFilename(const KZString& name) {
  return std::as_const(*this).GetFilename(name);
}

VQDialog* VQDialogMaker::CreateDialog(const KZString& name) {
  return std::as_const(*this).CreateDialog(name);
}

const char* VQDialogMaker::GetFilename(const KZString&) const { return nullptr; }

VQDialog* VQDialogMaker::CreateDialog(const KZString&) const { return nullptr; }
