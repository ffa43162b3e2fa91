// `dorn-station run`: plays scenes. `dorn-station record`: makes one.
#ifndef TOOLS_DORN_STATION_RUNSCENES_H_
#define TOOLS_DORN_STATION_RUNSCENES_H_

// Take the arguments from `run` or `record` on; the exit code of the program comes back.
int RunScenes(int argc, char** argv);
int RecordScenes(int argc, char** argv);

#endif  // TOOLS_DORN_STATION_RUNSCENES_H_
