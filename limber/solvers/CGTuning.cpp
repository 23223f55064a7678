#include "limber/solvers/CGTuning.h"

double cg_tol = 0.1;
int cg_maxIters = 3;
int cg_maxRestarts = 10;
int cg_reset_resid = 50;
double cg_goNoWhereSc = 0.25;
double cg_epsilon = 1e-08;
int cg_verbosity = 0;
FILE* cgradDribble = nullptr;
int cgradMAXX = 2050;
int cgradMAXB = 2050;
double cgradDefinizer = -1.0;
Vector* cgradDampV = nullptr;
Vector* cgradMassVec = nullptr;

CGObserver cg_observer = nullptr;
void* cg_observerData = nullptr;
int cg_stopped = 0;

double cgradEps = 1e-05;
double cgradTol = 0.0002;
double cgradNeptune = 1e+20;
int maxCGradPasses = 10;
