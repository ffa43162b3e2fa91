// What Asio and Beast have that is no template, compiled here and nowhere else.
#include <boost/asio/impl/src.hpp>
#include <boost/asio/ssl/impl/src.hpp>
#include <boost/beast/src.hpp>
