// `dorn-station run`: plays scenes.
#ifndef TOOLS_DORN_STATION_RUNSCENES_H_
#define TOOLS_DORN_STATION_RUNSCENES_H_

// Takes the arguments behind `run`; the exit code of the program comes back.
int RunScenes(int argc, char** argv);

#endif  // TOOLS_DORN_STATION_RUNSCENES_H_
