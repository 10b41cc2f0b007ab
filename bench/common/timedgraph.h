#pragma once

// Shared by the GL benchmarks: a graph that times its own frames, and the median of a run.

#include "kiv_graph.h"

#include <QElapsedTimer>
#include <QOpenGLContext>
#include <QOpenGLFunctions>

#include <algorithm>
#include <vector>

// Times each frame from the start of paintGL to the end of glFinish.
class TimedGraph : public KivGraph
{
public:
    using KivGraph::KivGraph;
    std::vector<double> frameMs;
    double lastMs = 0.0;

protected:
    void paintGL() override
    {
        QElapsedTimer t;
        t.start();
        KivGraph::paintGL();
        context()->functions()->glFinish();
        lastMs = t.nsecsElapsed() / 1e6;
        frameMs.push_back(lastMs);
    }
};

inline double median(std::vector<double> v)
{
    if (v.empty())
        return 0.0;
    std::sort(v.begin(), v.end());
    return v[v.size() / 2];
}
