// A user's program: it counts the frames and joints of a clip with an installed motion component.
#include <cstdio>

#include "limber_motion/Clip.h"

int main(int argc, char** argv) {
  if (argc != 2) return 2;
  const limber::motion::Clip clip = limber::motion::readClip(argv[1]);
  std::printf("%d frames of %d joints\n", clip.frames, static_cast<int>(clip.joints.size()));
  return clip.frames > 0 && !clip.joints.empty() ? 0 : 1;
}
