#ifndef DORN_MODEL_VQJSONCOMMAND_H_
#define DORN_MODEL_VQJSONCOMMAND_H_
#include "dorn/base/Export.h"
#include "dorn/base/KZString.h"
#include "dorn/model/VQJsonObject.h"
class DORN_EXPORT VQJsonCommand : public VQJsonObjectHasList {
 public:
  explicit VQJsonCommand(const KZString& word);
  VQJsonCommand(const VQJsonCommand& other) = default;
  VQJsonCommand& operator=(const VQJsonCommand& other) = default;
  ~VQJsonCommand() override;
};
class DORN_EXPORT VQJsonCommands : public VQJsonObjectHasList {
 public:
  VQJsonCommands();
  VQJsonCommands(const VQJsonCommands& other) = default;
  VQJsonCommands& operator=(const VQJsonCommands& other) = default;
  ~VQJsonCommands() override;
};
#endif
