// A minimal host: one graph with one series fed from a thread, painted once.
#include <kiv_graph.h>
#include <kiv_dataset.h>

#include <QApplication>
#include <cstdio>
#include <thread>

int main(int argc, char** argv)
{
    QApplication app(argc, argv);
    KivGraph graph(nullptr);
    KivDataSet* series = graph.addDataSet(0, Qt::blue, 1000);
    std::thread producer([series] {
        for (int i = 0; i < 5000; ++i)
            series->addData(i * 0.01);
    });
    producer.join();
    graph.resize(320, 240);
    graph.show();
    graph.grabFramebuffer();
    std::printf("kivhost: %lu samples shown\n", static_cast<unsigned long>(series->getItemCount()));
    return series->getItemCount() == 1000 ? 0 : 1;
}
