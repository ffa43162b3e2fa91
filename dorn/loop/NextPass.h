// Calls that wait for the start of a loop's next pass. Internal: not installed.
#ifndef DORN_LOOP_NEXTPASS_H_
#define DORN_LOOP_NEXTPASS_H_

class KZFdData;
class KZFdDataList;

namespace dorn {

// For what must not be called at once because it is running already. By thread, as loops are.
class NextPass {
 public:
  using Call = void (*)(KZFdData& record);

  // Has `call` called once at the start of the next pass of the record's list. Whoever asks wakes
  // the loop.
  static void Request(KZFdData& record, Call call);

  // Nothing is called for this record any more.
  static void Forget(const KZFdData* record);

  // Makes the calls that were asked for before; what they ask for waits for the next time. Returns
  // whether there were any.
  static bool Run(const KZFdDataList& list);
};

}  // namespace dorn

#endif  // DORN_LOOP_NEXTPASS_H_
