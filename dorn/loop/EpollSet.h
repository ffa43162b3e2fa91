// One descriptor that stands in select's set for many others. Internal: not installed.
#ifndef DORN_LOOP_EPOLLSET_H_
#define DORN_LOOP_EPOLLSET_H_

#include <sys/select.h>

namespace dorn {

// Members are descriptors that wait to be read. The kernel knows a member by its open file, not by
// its number, and keeps it as long as any process has that file open. Hence:
// - Whoever closes a member removes it before.
// - What the kernel reports is asked again by number before it is believed. A report that is not
//   true, or of no member, comes from a file that is somebody else's by now: the set is built anew.
// - A process that was forked shares the set with its parent, and would take the parent's members
//   out of it. It only closes its copy, and makes a set of its own.
// - Refresh() finds members whose number has got another open file.
//
// Everything works as well when no set can be made: then there are no members. Not locked.
class EpollSet {
 public:
  EpollSet() { FD_ZERO(&mMembers); }
  ~EpollSet() { Close(); }

  EpollSet(const EpollSet&) = delete;
  EpollSet& operator=(const EpollSet&) = delete;

  // Makes `fd` a member. False when it cannot be one: it is closed, it is a file that is always
  // ready, or there is no set. Then there is nothing to be undone.
  bool Add(int fd);

  // A closed descriptor must have been removed before.
  void Remove(int fd);

  // Asks for each member anew. Those that are closed, or cannot be watched any more, are none
  // afterwards.
  void Refresh();

  // Removes all members and closes the set.
  void Close();

  // Only in the process that made the set; elsewhere empty.
  const fd_set& Members();

  // What select is to watch for reading; -1 while there are no members.
  int Descriptor();

  // The members that can be read now. After a report that is not true the set is built anew, and
  // may have lost members.
  void TakeReadable(fd_set* readable);

 private:
  bool Open();
  bool Control(int operation, int fd);
  void LeaveToParent();
  void Abandon();
  void Rebuild();

  int mEpoll = -1;
  unsigned mForks = 0;  // How often this process, or one before it, had forked.
  int mCount = 0;
  fd_set mMembers;
};

}  // namespace dorn

#endif  // DORN_LOOP_EPOLLSET_H_
