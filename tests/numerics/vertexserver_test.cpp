#include "numerics/vertexserver.h"

#include <sstream>

#include <gtest/gtest.h>

#include "numerics/vertexclient.h"
#include "support/failures.h"
#include "support/vectors.h"

namespace vorlen {

TEST(VertexServer, theConstructorFillsInCapacityAndGrowth) {
    const VertexServer<float> server(3, 5, 0, 0);
    EXPECT_EQ(3, server.getSpace());
    EXPECT_EQ(5, server.getSize());
    EXPECT_EQ(5, server.getCapacity());
    EXPECT_EQ(5, server.getGrowth());
    EXPECT_EQ(0, server.getRefs());
    EXPECT_EQ(3, server[4].getSize());
    const VertexServer<float> small(2, 4, 1, 7);
    EXPECT_EQ(4, small.getCapacity());
    EXPECT_EQ(7, small.getGrowth());
}

TEST(VertexServer, growsByWholeStepsAndByOnesWithoutAStep) {
    VertexServer<int> steps(2, 0, 3, 4);
    steps.setSize(3);
    EXPECT_EQ(3, steps.getCapacity());
    steps.setSize(4);
    EXPECT_EQ(7, steps.getCapacity());
    steps.setSize(16);
    EXPECT_EQ(19, steps.getCapacity());
    steps.setSize(1);
    EXPECT_EQ(19, steps.getCapacity());
    VertexServer<int> ones(2, 0, 0, 0);
    ones.setSize(6);
    EXPECT_EQ(6, ones.getCapacity());
    EXPECT_EQ(2, ones[5].getSize());
}

TEST(VertexServer, verticesStayInPlaceWhileItGrowsAndShrinks) {
    VertexServer<double> server(2, 3, 3, 2);
    for (int i = 0; i < 3; ++i)
        server[i].fill(i);
    const Vector<double>* const first = &server[0];
    const Vector<double>* const second = &server.vertex(1);
    for (int n = 4; n < 200; ++n) {
        server.setSize(n);
        server[n - 1].fill(n - 1);
    }
    EXPECT_EQ(first, &server[0]);
    EXPECT_EQ(second, &server[1]);
    for (int i = 0; i < 199; ++i)
        ASSERT_EQ(i, server[i][1]);
    server.setCapacity(2);
    EXPECT_EQ(2, server.getCapacity());
    EXPECT_EQ(2, server.getSize());
    EXPECT_EQ(second, &server[1]);
    server.setSize(6);
    server[5].fill(1);
    EXPECT_EQ(1, server[1][0]);
    EXPECT_EQ(2, server[5].getSize());
    server.clear();
    EXPECT_EQ(0, server.getCapacity());
    EXPECT_EQ(0, server.getSize());
    EXPECT_EQ(2, server.getSpace());
    EXPECT_EQ(2, server.getGrowth());
}

TEST(VertexServer, aCopyIsDeepAndHasNoClients) {
    VertexServer<int> server(2, 2, 5, 3);
    for (int i = 0; i < 5; ++i)
        server[i].fill(i);
    server.ref();
    VertexServer<int> copy(server);
    server[1].fill(99);
    EXPECT_EQ(0, copy.getRefs());
    EXPECT_EQ(2, copy.getSize());
    EXPECT_EQ(5, copy.getCapacity());
    EXPECT_EQ(3, copy.getGrowth());
    EXPECT_EQ(1, copy[1][0]);
    EXPECT_EQ(4, copy[4][1]);
    const VertexServer<int>& self = copy;
    copy = self;
    EXPECT_EQ(4, copy[4][1]);
}

TEST(VertexServer, appendCopiesBehindAndRefusesItselfAndOtherSpaces) {
    VertexServer<int> server(2, 1, 1, 1);
    VertexServer<int> other(2, 2, 4, 1);
    server[0].fill(0);
    other[0].fill(1);
    other[1].fill(2);
    server.append(other);
    EXPECT_EQ(3, server.getSize());
    EXPECT_EQ(2, server[2][0]);
    other[1].fill(7);
    EXPECT_EQ(2, server[2][0]);
    const std::string where = "void VertexServer<T>::append(const VertexServer&)";
    expectFailure<ValueError>([&] { server.append(server); }, where, "Cannot append server to itself");
    expectFailure<ValueError>([&] { server.append(VertexServer<int>(3, 1, 1, 1)); }, where,
                              "Incompatible server space dimension");
    EXPECT_EQ(3, server.getSize());
}

TEST(VertexServer, printsItsFieldsAndVertices) {
    VertexServer<int> server(2, 1, 4, 3);
    server[0].fill(5);
    std::ostringstream stream;
    testing::internal::CaptureStderr();
    server.print("S", stream);
    EXPECT_EQ("   5.00   5.00", testing::internal::GetCapturedStderr());
    const std::string text = stream.str();
    EXPECT_EQ(0u, text.find("S\n  address  = 0x"));
    EXPECT_EQ("  refs     = 0\n  space    = 2\n  capacity = 4\n  size     = 1\n  growth   = 3\n    0: \n",
              text.substr(text.find("  refs")));
}

TEST(VertexClient, copiesShareTheServerUntilDetached) {
    VertexClient<float> a(2, 3, 3, 1);
    a.getServer()->vertex(1).fill(1);
    VertexClient<float> b(a);
    VertexServer<float>* const shared = a.getServer();
    EXPECT_EQ(shared, b.getServer());
    EXPECT_EQ(2, shared->getRefs());
    b.detach();
    EXPECT_NE(shared, b.getServer());
    EXPECT_EQ(1, shared->getRefs());
    EXPECT_EQ(1, b.getServer()->getRefs());
    shared->vertex(1).fill(9);
    EXPECT_EQ(1, b.getServer()->vertex(1)[0]);
    b.detach();
    EXPECT_EQ(1, b.getServer()->getRefs());
}

TEST(VertexClient, assignmentMovesTheReference) {
    VertexClient<float> a(2, 3, 3, 1);
    VertexServer<float>* const kept = a.getServer();
    {
        VertexClient<float> b(3, 1, 1, 1);
        b = a;
        EXPECT_EQ(2, kept->getRefs());
        const VertexClient<float>& self = b;
        b = self;
        EXPECT_EQ(2, kept->getRefs());
        b.setServer(*kept);
        EXPECT_EQ(2, kept->getRefs());
        b = VertexClient<float>();
        EXPECT_EQ(nullptr, b.getServer());
        EXPECT_EQ(1, kept->getRefs());
        b.detach();
        EXPECT_EQ(nullptr, b.getServer());
        b.setServer(*kept);
    }
    EXPECT_EQ(1, kept->getRefs());
}

TEST(VertexClient, anExtraReferenceOutlivesTheClient) {
    VertexServer<int>* server = nullptr;
    {
        VertexClient<int> client(1, 1, 1, 1);
        server = client.getServer();
        server->ref();
    }
    EXPECT_EQ(1, server->getRefs());
    server->deref();
}

TEST(VertexClient, printsNilWithoutAServer) {
    std::ostringstream stream;
    VertexClient<int>().print("title", stream);
    EXPECT_EQ("title\n Server: (nil)\n", stream.str());
    std::ostringstream with;
    VertexClient<int>(1, 0, 0, 1).print("", with);
    EXPECT_EQ(0u, with.str().find(" Server:\n  address  = "));
}

} // namespace vorlen
