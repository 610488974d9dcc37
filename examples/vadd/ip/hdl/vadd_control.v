// The control registers. Arguments are accepted only while the kernel is idle.
//
//   0x00  bit 0: start (write); bit 1: done, cleared by reading it; bit 2: idle
//   0x10  address of a      0x1c  address of b      0x28  address of out      0x34  length in words
//
// An address takes two registers, the low half first. Only register 0x00 can be read; the others read as zero.
module vadd_control (
    input  wire        clk,
    input  wire        rst_n,

    input  wire        awvalid,
    output wire        awready,
    input  wire [11:0] awaddr,
    input  wire        wvalid,
    output wire        wready,
    input  wire [31:0] wdata,
    output reg         bvalid,
    input  wire        bready,
    input  wire        arvalid,
    output wire        arready,
    input  wire [11:0] araddr,
    output reg         rvalid,
    input  wire        rready,
    output reg  [31:0] rdata,

    output reg  [63:0] a,
    output reg  [63:0] b,
    output reg  [63:0] out,
    output reg  [31:0] length,
    output reg         start,
    input  wire        busy
);
    localparam CONTROL = 12'h00;

    reg running, done;
    wire idle = ~start & ~running;
    wire writing = awvalid & wvalid & ~bvalid;
    wire reading = arvalid & arready;

    assign awready = writing;
    assign wready = writing;
    assign arready = ~rvalid;

    always @(posedge clk)
        if (!rst_n) begin
            {start, running, done, bvalid, rvalid} <= 0;
            {a, b, out, length} <= 0;
        end else begin
            start <= writing & idle & (awaddr == CONTROL) & wdata[0];
            running <= start | (running & busy);
            done <= (running & ~busy) | (done & ~start & ~(reading & (araddr == CONTROL)));
            bvalid <= writing | (bvalid & ~bready);
            rvalid <= reading | (rvalid & ~rready);

            if (writing & idle)
                case (awaddr)
                    12'h10: a[31:0] <= wdata;
                    12'h14: a[63:32] <= wdata;
                    12'h1c: b[31:0] <= wdata;
                    12'h20: b[63:32] <= wdata;
                    12'h28: out[31:0] <= wdata;
                    12'h2c: out[63:32] <= wdata;
                    12'h34: length <= wdata;
                    default: ;
                endcase
            if (reading) rdata <= araddr == CONTROL ? {29'b0, idle, done, 1'b0} : 32'b0;
        end
endmodule
