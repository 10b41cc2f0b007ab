#include "votypes.h"

#include <QtTest>

class TestVoTypes : public QObject
{
    Q_OBJECT

private slots:
    void matrixStorage();
    void borrowedStorageIsLeftAlone();
    void vectorArrayStringVersion();
    void resultNames();
};

void TestVoTypes::matrixStorage()
{
    VoMatrix m;
    const double src[6] = {1, 2, 3, 4, 5, 6};
    QCOMPARE(VoMatrix_construct(&m, 2, 3, 0, src, 3), VO_RESULT_OK);
    QVERIFY(m.flags & VO_DATA_MANAGED);
    QCOMPARE(m.stride, VoSize(3));
    QCOMPARE(m.data[1 * 3 + 2], 6.0);
    // A wider stride keeps the values in their rows.
    QCOMPARE(VoMatrix_assign(&m, 3, 2, 5, src, 2), VO_RESULT_OK);
    QCOMPARE(m.data[2 * 5 + 1], 6.0);
    QCOMPARE(m.data[1 * 5 + 0], 3.0);

    // Copies are deep and dense, whatever the source stride.
    VoMatrix copy;
    VoMatrix_zero(&copy);
    QCOMPARE(VoMatrix_copy(&copy, &m), VO_RESULT_OK);
    QVERIFY(copy.data != m.data);
    QCOMPARE(copy.stride, VoSize(2));
    QCOMPARE(copy.data[5], 6.0);
    VoMatrix_swap(&copy, &m);
    QCOMPARE(m.stride, VoSize(2));
    VoMatrix_destruct(&copy);
    VoMatrix_destruct(&m);
    QCOMPARE(m.data, static_cast<VoReal*>(nullptr));

    // Sizes whose byte count overflows are refused, not wrapped.
    VoMatrix huge;
    QCOMPARE(VoMatrix_construct(&huge, VoSize(1) << 40, VoSize(1) << 40, 0, nullptr, 0), VO_RESULT_OUT_OF_MEMORY);
    QCOMPARE(huge.data, static_cast<VoReal*>(nullptr));
}

void TestVoTypes::borrowedStorageIsLeftAlone()
{
    // Under AddressSanitizer a free of this stack storage would abort the test.
    double storage[6] = {1, 2, 3, 4, 5, 6};
    const double src[6] = {6, 5, 4, 3, 2, 1};
    VoMatrix fixed = {storage, 2, 3, 3, VO_DATA_FIXED_SIZE};
    QCOMPARE(VoMatrix_assign(&fixed, 2, 3, 3, src, 3), VO_RESULT_OK);
    QCOMPARE(fixed.data, storage);
    QCOMPARE(fixed.flags, VO_DATA_FIXED_SIZE);
    QCOMPARE(storage[0], 6.0);
    // Another shape gets storage of its own, which is then managed.
    QCOMPARE(VoMatrix_assign(&fixed, 1, 2, 2, src, 2), VO_RESULT_OK);
    QVERIFY(fixed.data != storage);
    QVERIFY(fixed.flags & VO_DATA_MANAGED);
    VoMatrix_destruct(&fixed);

    VoMatrix view = {storage, 2, 2, 3, VO_DATA_VIEW};
    VoMatrix_destruct(&view);
    QCOMPARE(view.data, static_cast<VoReal*>(nullptr));
    VoVector vector = {storage, 4, VO_DATA_VIEW};
    VoVector_destruct(&vector);
    QCOMPARE(vector.size, VoSize(0));
    QCOMPARE(storage[5], 1.0);
}

void TestVoTypes::vectorArrayStringVersion()
{
    VoVector v, w;
    const double src[3] = {3, 0, 4};
    QCOMPARE(VoVector_construct(&v, 3, src), VO_RESULT_OK);
    QVERIFY(v.flags & VO_DATA_MANAGED);
    VoVector_zero(&w);
    QCOMPARE(VoVector_copy(&w, &v), VO_RESULT_OK);
    QVERIFY(w.data != v.data);
    QCOMPARE(VoVector_dotProduct(&v, &w), 25.0);
    QCOMPARE(VoVector_normalize(&w), 5.0);
    QCOMPARE(w.data[2], 0.8);
    QCOMPARE(VoVector_cartesianLength(&v), 5.0);
    double zeros[2] = {0, 0};
    VoVector z = {zeros, 2, VO_DATA_VIEW};
    QCOMPARE(VoVector_normalize(&z), 0.0);
    QCOMPARE(zeros[0], 0.0);
    VoVector_destruct(&v);
    VoVector_destruct(&w);

    VoArray a, b;
    const int values[3] = {7, 8, 9};
    QCOMPARE(VoArray_construct(&a, 3, sizeof(int), values), VO_RESULT_OK);
    VoArray_zero(&b);
    QCOMPARE(VoArray_copy(&b, &a), VO_RESULT_OK);
    QVERIFY(b.data != a.data);
    QCOMPARE(static_cast<int*>(b.data)[2], 9);
    VoArray_destruct(&a);
    VoArray_destruct(&b);

    VoString s, t;
    QCOMPARE(VoString_construct(&s, "hello"), VO_RESULT_OK);
    QCOMPARE(s.length, VoSize(5));
    VoString_zero(&t);
    QCOMPARE(VoString_copy(&t, &s), VO_RESULT_OK);
    QCOMPARE(VoString_assign(&s, nullptr), VO_RESULT_OK);
    QCOMPARE(QByteArray(s.data), QByteArray());
    VoString_swap(&s, &t);
    QCOMPARE(QByteArray(s.data), QByteArray("hello"));
    VoString_destruct(&s);
    VoString_destruct(&t);

    VoVersion version, copy;
    QCOMPARE(VoVersion_construct(&version, 2, 6, 4, 5678, 108182, "built on 2021-02-04"), VO_RESULT_OK);
    VoVersion_zero(&copy);
    QCOMPARE(VoVersion_copy(&copy, &version), VO_RESULT_OK);
    VoVersion_destruct(&version);
    QCOMPARE(copy.build, 5678u);
    QCOMPARE(copy.repositoryRevision, 108182u);
    QCOMPARE(QByteArray(copy.text.data), QByteArray("built on 2021-02-04"));
    VoVersion_destruct(&copy);
}

void TestVoTypes::resultNames()
{
    QCOMPARE(QByteArray(VoResultValue_toString(VO_RESULT_OK)), QByteArray("OK"));
    QCOMPARE(QByteArray(VoResultValue_toString(VO_RESULT_INVALID_ARGUMENT)), QByteArray("invalid argument"));
    QCOMPARE(QByteArray(VoResultValue_toString(VO_RESULT_OUT_OF_RANGE)), QByteArray("out of range"));
    QCOMPARE(QByteArray(VoResultValue_toString(4711)), QByteArray("unknown result"));
}

QTEST_APPLESS_MAIN(TestVoTypes)
#include "tst_votypes.moc"
