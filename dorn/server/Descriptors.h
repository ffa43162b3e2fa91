// How many descriptors there are. Internal: not installed. Any thread.
#ifndef DORN_SERVER_DESCRIPTORS_H_
#define DORN_SERVER_DESCRIPTORS_H_

namespace dorn {

// One more than the highest descriptor that the process may open and the loop can watch: the soft
// limit, at most 1024.
int DescriptorLimit();

}  // namespace dorn

#endif  // DORN_SERVER_DESCRIPTORS_H_
