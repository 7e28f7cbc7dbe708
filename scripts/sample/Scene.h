// A lake in evening light: a sky of gradients and clouds, textured hills, a house and a sailing boat with
// hard edges, their reflections, a sign with fine lettering, and a person.
#ifndef SCRIPTS_SAMPLE_SCENE_H
#define SCRIPTS_SAMPLE_SCENE_H

#include "scripts/sample/Paint.h"

namespace sample {

// The colour at a point: x from 0 to `aspect` (width / height), y from 0 at the top to 1 at the bottom.
Color sceneColor(double x, double y, double aspect);

}  // namespace sample

#endif
