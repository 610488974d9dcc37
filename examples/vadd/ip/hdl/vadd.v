// out[i] = a[i] + b[i], for vectors of 32-bit words.
//
// The host fills the control registers and sets the start bit. The reader fetches both operands, the sums wait in a
// FIFO, the writer stores them. All interfaces follow the handshakes of AXI4-Lite and carry whole words only;
// strobes of the host and errors that memory reports are not looked at.
module vadd #(
    parameter SUM_FIFO_DEPTH = 16
) (
    input  wire        clk,
    input  wire        rst_n,

    input  wire        s_control_awvalid,
    output wire        s_control_awready,
    input  wire [11:0] s_control_awaddr,
    input  wire        s_control_wvalid,
    output wire        s_control_wready,
    input  wire [31:0] s_control_wdata,
    input  wire [3:0]  s_control_wstrb,
    output wire        s_control_bvalid,
    input  wire        s_control_bready,
    output wire [1:0]  s_control_bresp,
    input  wire        s_control_arvalid,
    output wire        s_control_arready,
    input  wire [11:0] s_control_araddr,
    output wire        s_control_rvalid,
    input  wire        s_control_rready,
    output wire [31:0] s_control_rdata,
    output wire [1:0]  s_control_rresp,

    output wire        m_read_arvalid,
    input  wire        m_read_arready,
    output wire [63:0] m_read_araddr,
    output wire [2:0]  m_read_arprot,
    input  wire        m_read_rvalid,
    output wire        m_read_rready,
    input  wire [31:0] m_read_rdata,
    input  wire [1:0]  m_read_rresp,

    output wire        m_write_awvalid,
    input  wire        m_write_awready,
    output wire [63:0] m_write_awaddr,
    output wire [2:0]  m_write_awprot,
    output wire        m_write_wvalid,
    input  wire        m_write_wready,
    output wire [31:0] m_write_wdata,
    output wire [3:0]  m_write_wstrb,
    input  wire        m_write_bvalid,
    output wire        m_write_bready,
    input  wire [1:0]  m_write_bresp
);
    wire [63:0] a, b, out;
    wire [31:0] length, sum, next;
    wire start, busy, sum_valid, sum_ready, next_valid, next_ready;

    assign s_control_bresp = 2'b00;  // every access succeeds
    assign s_control_rresp = 2'b00;
    assign m_read_arprot = 3'b000;   // unprivileged, secure data
    assign m_write_awprot = 3'b000;
    assign m_write_wstrb = 4'b1111;

    vadd_control control_u (
        .clk(clk), .rst_n(rst_n),
        .awvalid(s_control_awvalid), .awready(s_control_awready), .awaddr(s_control_awaddr),
        .wvalid(s_control_wvalid), .wready(s_control_wready), .wdata(s_control_wdata),
        .bvalid(s_control_bvalid), .bready(s_control_bready),
        .arvalid(s_control_arvalid), .arready(s_control_arready), .araddr(s_control_araddr),
        .rvalid(s_control_rvalid), .rready(s_control_rready), .rdata(s_control_rdata),
        .a(a), .b(b), .out(out), .length(length), .start(start), .busy(busy)
    );
    vadd_reader reader_u (
        .clk(clk), .rst_n(rst_n), .start(start), .a(a), .b(b), .length(length),
        .arvalid(m_read_arvalid), .arready(m_read_arready), .araddr(m_read_araddr),
        .rvalid(m_read_rvalid), .rready(m_read_rready), .rdata(m_read_rdata),
        .sum_valid(sum_valid), .sum_ready(sum_ready), .sum(sum)
    );
    vadd_fifo #(.DEPTH(SUM_FIFO_DEPTH)) sums_u (
        .clk(clk), .rst_n(rst_n),
        .in_valid(sum_valid), .in_ready(sum_ready), .in(sum),
        .out_valid(next_valid), .out_ready(next_ready), .out(next)
    );
    vadd_writer writer_u (
        .clk(clk), .rst_n(rst_n), .start(start), .out(out), .length(length), .busy(busy),
        .sum_valid(next_valid), .sum_ready(next_ready), .sum(next),
        .awvalid(m_write_awvalid), .awready(m_write_awready), .awaddr(m_write_awaddr),
        .wvalid(m_write_wvalid), .wready(m_write_wready), .wdata(m_write_wdata),
        .bvalid(m_write_bvalid), .bready(m_write_bready)
    );
endmodule
