// The two kinds of streams on which browsers come. Only what handles them includes this.
#ifndef TOOLS_DORN_GATEWAY_STREAMS_H_
#define TOOLS_DORN_GATEWAY_STREAMS_H_

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/beast/core/basic_stream.hpp>
#include <boost/beast/core/rate_policy.hpp>
#include <boost/beast/ssl/ssl_stream.hpp>

namespace dorn::gateway {

// Everything runs on one thread: the executor's own type saves a detour for each operation.
using Executor = boost::asio::io_context::executor_type;
using TcpSocket = boost::asio::basic_stream_socket<boost::asio::ip::tcp, Executor>;
using TcpStream =
    boost::beast::basic_stream<boost::asio::ip::tcp, Executor, boost::beast::unlimited_rate_policy>;
using TlsStream = boost::beast::ssl_stream<TcpStream>;

}  // namespace dorn::gateway

#endif  // TOOLS_DORN_GATEWAY_STREAMS_H_
